// A thread of the client that is cancelled inside a call of the library: no lock is left held,
// nothing is left allocated or open, and the client's other threads go on.
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "runtime/send/local_delivery.h"
#include "session/state/locks.h"
#include "soak/stub_aaad.h"
#include "support/lock_check.h"
#include "transport/base/atomic_word.h"

namespace soak {
namespace {

using traffic::Exchange;
using traffic::OneWay;

// The thread is cancelled at this line of the log, counted down; 0 for none.
thread_local int lines_left = 0;

// The platform's log as the strictest there is: each line is a cancellation point. It writes none.
void be_cancelled_at_line() {
  if (lines_left > 0 && --lines_left == 0) pthread_cancel(pthread_self());
  pthread_testcancel();
}

// A thread that makes a call, and is then cancelled at the latest.
class CancelledThread {
 public:
  explicit CancelledThread(std::function<void()> call) : call_(std::move(call)) {
    ::pthread_create(&thread_, nullptr, run, this);
  }
  ~CancelledThread() { EXPECT_TRUE(has_ended()); }
  CancelledThread(const CancelledThread&) = delete;
  CancelledThread& operator=(const CancelledThread&) = delete;

  void cancel() { ::pthread_cancel(thread_); }
  // Waits for the end. Returns whether the thread was cancelled, and the call thus not completed.
  bool was_cut_short() {
    join();
    return !completed_;
  }

 private:
  static void* run(void* self) {
    auto* const thread = static_cast<CancelledThread*>(self);
    thread->call_();
    thread->completed_ = true;
    return nullptr;
  }

  bool has_ended() {
    join();
    return joined_;
  }

  void join() {
    timespec deadline = {};
    ::clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += 20;
    if (!joined_) joined_ = ::pthread_timedjoin_np(thread_, nullptr, &deadline) == 0;
  }

  const std::function<void()> call_;
  pthread_t thread_ = {};
  std::atomic<bool> completed_ = false;
  bool joined_ = false;
};

class ClientCancellation : public StubTest {
 protected:
  void note_what_there_is() {
    blocks_ = test::live_blocks();
    descriptors_ = test::open_descriptors();
  }

  void expect_nothing_new() {
    EXPECT_TRUE(test::eventually([this] { return test::live_blocks() == blocks_; }))
        << static_cast<int>(test::live_blocks() - blocks_) << " blocks";
    EXPECT_TRUE(test::eventually([this] { return test::open_descriptors() == descriptors_; }))
        << test::open_descriptors() << " descriptors in place of " << descriptors_;
  }

  // Starts the call, and cancels it once it has taken the lock. Until then it waits as long as it
  // has to, and afterwards no longer than it would for a client.
  void cancel_when_taken(pthread_mutex_t& lock, const std::function<void()>& call) {
    let_time_stand();
    CancelledThread thread(call);
    EXPECT_TRUE(test::eventually([&] { return !test::is_free(lock); })) << "no lock is taken";
    thread.cancel();
    let_time_pass();
    thread.was_cut_short();
    expect_library_in_order();
  }

  // Cancels the call at each line of the log in turn.
  void cancel_at_each_line(Behaviour behaviour, bool registered, std::int64_t (*call)()) {
    bool cut_short = true;
    for (int line = 1; cut_short; ++line) {
      SCOPED_TRACE("line " + std::to_string(line));
      ASSERT_LT(line, 100);
      begin(behaviour, registered);
      const std::uint32_t blocks = test::live_blocks();
      {
        const test::OpenGate gate;
        CancelledThread thread([&] {
          lines_left = line;
          call();
        });
        cut_short = thread.was_cut_short();
      }
      expect_library_in_order();
      end();
      EXPECT_TRUE(test::eventually([&] { return test::live_blocks() <= blocks; }));
    }
  }

  std::uint32_t blocks_ = 0;
  std::size_t descriptors_ = 0;
};

TEST_F(ClientCancellation, OfAnExchangeWithoutAnswerLeavesTheLibraryInOrder) {
  for (const Exchange& exchange : traffic::exchanges()) {
    SCOPED_TRACE(exchange.name);
    begin(Behaviour::never_writes, !exchange.registers());
    cancel_when_taken(aaa_lib_lock, [&] { exchange.make(); });
    end();
  }
}

TEST_F(ClientCancellation, OfARequestThatCannotBeWrittenLeavesTheLibraryInOrder) {
  for (const OneWay& request : traffic::one_way_calls()) {
    SCOPED_TRACE(request.name);
    begin(Behaviour::never_reads);
    note_what_there_is();
    cancel_when_taken(aaa::request_write_lock, [&] { request.make(); });
    expect_nothing_new();
    end();
  }
}

TEST_F(ClientCancellation, OfAnExchangeLetsTheThreadThatWaitsForTheLockGoOn) {
  begin(Behaviour::never_writes);
  let_time_stand();
  CancelledThread first([] { aaa_mlist_existed(1, 2, 3, "login"); });
  ASSERT_TRUE(test::eventually([] { return !test::is_free(aaa_lib_lock); }));
  std::atomic<bool> second_is_back = false;
  CancelledThread second([&] {
    aaa_mlist_existed(1, 2, 3, "login");
    second_is_back = true;
  });
  first.cancel();
  let_time_pass();
  EXPECT_TRUE(test::eventually([&] { return second_is_back.load(); }));
  expect_library_in_order();
}

TEST_F(ClientCancellation, AtAnyLineOfTheLogInAnExchangeLeavesTheLibraryInOrder) {
  for (const Exchange& exchange : traffic::exchanges()) {
    SCOPED_TRACE(exchange.name);
    for (const Behaviour behaviour : {Behaviour::good, Behaviour::other_type})
      cancel_at_each_line(behaviour, !exchange.registers(), exchange.make);
  }
}

TEST_F(ClientCancellation, AtAnyLineOfTheLogInARequestLeavesTheLibraryInOrder) {
  for (const OneWay& request : traffic::one_way_calls()) {
    SCOPED_TRACE(request.name);
    cancel_at_each_line(Behaviour::good, true, request.make);
  }
}

TEST_F(ClientCancellation, OfAWaitForAResultEndsItAtOnce) {
  begin(Behaviour::good);
  for (int n = 0; n < by_length(20, 2000); ++n) {
    note_what_there_is();
    CancelledThread thread([] {
      result_info* result = nullptr;
      aaa_user_get_result(9, 0, 120, &result);
    });
    ASSERT_TRUE(test::eventually([] { return aaa::load(aaa::g_temp_sid) == 9; }));
    thread.cancel();
    EXPECT_TRUE(thread.was_cut_short());
    EXPECT_EQ(0u, aaa::load(aaa::g_temp_sid));
    expect_nothing_new();
  }
  expect_library_in_order();
}

TEST_F(ClientCancellation, WhileTheNewModelFileIsReadClosesIt) {
  begin(Behaviour::good);
  const std::string file = directory() + "/security/aaa/.new_model";
  ASSERT_EQ(0, ::mkfifo(file.c_str(), 0600));
  const int writer = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  note_what_there_is();
  CancelledThread thread([] { aaa_get_new_model_from_file(); });
  EXPECT_TRUE(test::eventually([this] { return test::open_descriptors() == descriptors_ + 1; }));
  thread.cancel();
  EXPECT_EQ(1, ::write(writer, "1", 1));
  thread.was_cut_short();
  expect_nothing_new();
  ::close(writer);
}

}  // namespace
}  // namespace soak

// The test program is linked so that the library's lines come here.
extern "C" void __wrap_printk_syslog_ext(int, const char*, const char*, int, const char*, ...) {
  soak::be_cancelled_at_line();
}
