// Every call of the library that can fail fails in turn, through a client's whole life: the n-th
// one for n = 1, 2, 3 and so on until there is none left, once only, and from then on. The short
// form leaves most of the calls out that are made a hundred times in a life.
//
// To run a single case again, as failures say: AAA_FAULT=recv:ECONNRESET:17:once with the test's
// name as the filter.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "api/session_ids.h"
#include "faults/client_life.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/send_buffer.h"
#include "session/state/locks.h"
#include "soak/hang_watch.h"
#include "soak/soak_length.h"
#include "support/fresh_message_sockets.h"
#include "support/library_test.h"
#include "support/lock_check.h"

namespace faults {
namespace {

constexpr std::uint32_t blocks_of_a_result = 2;

struct Subject {
  ModeName mode;
  FallibleCall call;
};

std::ostream& operator<<(std::ostream& out, const Subject& subject) {
  return out << (subject.mode == ModeName::agent ? "agent_" : "threads_") << subject.call.name;
}

std::vector<Subject> subjects() {
  std::vector<Subject> all;
  for (const ModeName mode : {ModeName::threads, ModeName::agent})
    for (const FallibleCall& call : fallible_calls())
      all.push_back({mode, call});
  return all;
}

std::string rerun(const Fault& fault) {
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  return "AAA_FAULT=" + fault.text() + " --gtest_filter=" + test.test_suite_name() + "." +
         test.name();
}

// As it is before the first registration of a process.
void forget_earlier_lives(std::string_view call) {
  if (call == "pthread_mutexattr_init" || call == "pthread_mutex_init") {
    aaa::g_mutex_init = 0;
  }
  aaa::g_session_id = 0;
  aaa::g_session_id_max = 0;
}

// The watch begins before the first thread is counted.
class Faults : private soak::HangWatch,
               public test::LibraryTest,
               public testing::WithParamInterface<Subject> {
 protected:
  Faults() : HangWatch(std::chrono::seconds(3500)) {}

  void SetUp() override {
    LibraryTest::SetUp();
    ClientLife::prepare(sim_);
    traffic::event_messages();  // encoded before calls fail
    sim_.start();
    std::ofstream(directory() + "/security/aaa/.new_model") << '1';
    leaks_.emplace();
  }
  void TearDown() override {
    sim_.stop();
    expect_blocks_left(blocks_left_);
    LibraryTest::TearDown();
  }

  // Fails calls at greater and greater numbers until a life is over before it comes to that.
  void fail_each_call(int error, bool once) {
    const unsigned stride = GetParam().call.is_frequent ? soak::by_length(once ? 10U : 30U, 1U) : 1;
    for (unsigned number = 1;; number += stride)
      if (!outlive({GetParam().call.name, error, number, once}) || HasFailure()) return;
  }

  // Whether the fault has happened.
  bool outlive(const Fault& fault) {
    const test::FreshMessageSockets message_sockets;
    forget_earlier_lives(fault.call);
    FaultInjector faults(fault);
    const auto describe = [&] { return rerun(fault) + "\nat: " + faults.place(); };
    begin_part(describe);
    {
      const std::unique_ptr<ClientMode> mode = make_mode(GetParam().mode);
      ClientLife life(*mode, sim_, faults);
      life.live();
      if (!faults.has_done_harm()) {
        EXPECT_THAT(life.complaints(), testing::IsEmpty()) << describe();
      }
      faults.lift();
      EXPECT_TRUE(life.works_again()) << describe();
      EXPECT_TRUE(life.leaves()) << describe();
    }
    blocks_left_ += blocks_of_a_result * faults.dropped_results();
    SCOPED_TRACE(describe());
    expect_nothing_left();
    end_part();
    return faults.happened();
  }

 private:
  void expect_nothing_left() {
    EXPECT_FALSE(aaa::receive_thread_exists());
    EXPECT_FALSE(aaa::send_buffer_is_used());
    leaks_->expect_nothing_left(blocks_left_);
    EXPECT_THAT(test::locks_held(), testing::IsEmpty());
  }

  aaa_sim::AaadSim sim_{directory(), {}, {.keep = false}};
  std::optional<test::LeakCheck> leaks_;
  std::uint32_t blocks_left_ = 0;
};

TEST_P(Faults, AreOutlivedAndLeaveNothing) {
  if (const char* const wanted = std::getenv("AAA_FAULT")) {
    const std::optional<Fault> fault = fault_of(wanted);
    ASSERT_TRUE(fault && fault->call == GetParam().call.name) << wanted;
    EXPECT_TRUE(outlive(*fault)) << "no life has so many calls";
    return;
  }
  for (const int error : GetParam().call.errors) {
    fail_each_call(error, true);
    if (!GetParam().call.only_once) fail_each_call(error, false);
  }
}

INSTANTIATE_TEST_SUITE_P(Every, Faults, testing::ValuesIn(subjects()),
                         [](const auto& subject) { return testing::PrintToString(subject.param); });

}  // namespace
}  // namespace faults
