// A host that forks at any moment, while its other threads are inside the library: the child may
// end or become another program, which gets none of the library's descriptors.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "session/state/locks.h"
#include "soak/client_load.h"
#include "soak/soak_test.h"
#include "soak/storm.h"

namespace soak {
namespace {

SessionLedger* forking_ledger = nullptr;

void note_forked_result(result_info* result) {
  forking_ledger->answered(result->sub.session_id);
}

// What ends in the child, which only does what is safe after a fork.
[[noreturn]] void become_descriptor_count() {
  char program[] = DESCRIPTOR_COUNT_PROGRAM;
  char* arguments[] = {program, nullptr};
  ::execv(program, arguments);
  ::_exit(255);
}

[[noreturn]] void tell_about_lock() {
  ::_exit(::pthread_mutex_trylock(&aaa_lib_lock) == 0 ? 0 : 1);
}

// Runs the rest of the child; returns its exit status, -1 if it hangs.
int status_of_child(void (*rest)()) {
  const pid_t child = ::fork();
  if (child == 0) rest();
  int status = -1;
  const bool ended = test::eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; });
  return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class Fork : public SoakTest {
 protected:
  void SetUp() override {
    SoakTest::SetUp();
    keep_no_heartbeat();
    descriptors_ = status_of_child(become_descriptor_count);
    forking_ledger = &ledger_;
    reg_info info = client();
    info.notify_result_cb = note_forked_result;
    register_client(info);
  }

  int descriptors_ = 0;  // of a child, without the library
  SessionLedger ledger_{5};
};

TEST_F(Fork, AtAnyMomentGivesTheChildNoDescriptorAndNoReasonToHang) {
  test::MovedClock clock;
  clock.shorten_sleeps();
  ClientLoad load(ledger_, {.threads = 4});
  Storm storm(sim_, Storm::Closes::at_random, 5);
  load.start();
  storm.start();
  int held = 0;
  for (int n = 0; n < by_length(50, 3000) && !HasFailure(); ++n) {
    EXPECT_EQ(descriptors_, status_of_child(become_descriptor_count));
    const int status = status_of_child(tell_about_lock);
    EXPECT_NE(-1, status) << "a child hangs";
    held += status;
  }
  load.stop();
  storm.stop();
  EXPECT_GT(held, 0) << "no child was ever forked while the lock was held";
  EXPECT_THAT(ledger_.complaints(), testing::IsEmpty());
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; }));
}

}  // namespace
}  // namespace soak
