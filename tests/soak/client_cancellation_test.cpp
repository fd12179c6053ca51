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

#include "runtime/send/waiting_session.h"
#include "session/state/locks.h"
#include "soak/cancellable_log.h"
#include "soak/client_calls.h"
#include "soak/stub_test.h"
#include "support/lock_check.h"
#include "transport/base/atomic_word.h"

namespace soak {
namespace {

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

  // Starts the call, cancels it where aaad keeps it waiting, and sees how things are then.
  void cancel_waiting(const std::function<void()>& call) {
    note_what_there_is();
    CancelledThread thread(call);
    EXPECT_TRUE(test::eventually([] { return !test::is_free(aaa_lib_lock); }));
    thread.cancel();
    thread.was_cut_short();
    expect_library_in_order();
  }

  // Cancels the call at each line of the log in turn.
  void cancel_at_each_line(Manner manner, bool registered, const std::function<void()>& call) {
    bool cut_short = true;
    for (int line = 1; cut_short; ++line) {
      SCOPED_TRACE("line " + std::to_string(line));
      ASSERT_LT(line, 100);
      begin();
      if (registered)
        register_client(manner);
      else
        behave(manner);
      const std::uint32_t blocks = test::live_blocks();
      {
        const test::OpenGate gate;
        CancelledThread thread([&] {
          cancel_at_line(line);
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

bool registers(const Exchange& exchange) {
  return std::string_view(exchange.name) == "aaa_svr_reg";
}

TEST_F(ClientCancellation, OfAnExchangeWithoutAnswerLeavesTheLibraryInOrder) {
  for (const Exchange& exchange : exchanges()) {
    SCOPED_TRACE(exchange.name);
    begin();
    if (registers(exchange))
      behave(Manner::never_writes);
    else
      register_client(Manner::never_writes);
    cancel_waiting([&] { exchange.make(); });
    end();
  }
}

TEST_F(ClientCancellation, OfARequestThatCannotBeWrittenLeavesTheLibraryInOrder) {
  for (const OneWay& request : one_way_calls()) {
    SCOPED_TRACE(request.name);
    begin();
    register_client(Manner::never_reads);
    note_what_there_is();
    CancelledThread thread([&] { request.make(); });
    EXPECT_TRUE(test::eventually([] { return !test::is_free(aaa::request_write_lock); }));
    thread.cancel();
    thread.was_cut_short();
    expect_library_in_order();
    expect_nothing_new();
    end();
  }
}

TEST_F(ClientCancellation, OfAnExchangeLetsTheThreadThatWaitsForTheLockGoOn) {
  begin();
  register_client(Manner::never_writes);
  CancelledThread first([] { aaa_mlist_existed(1, 2, 3, "login"); });
  ASSERT_TRUE(test::eventually([] { return !test::is_free(aaa_lib_lock); }));
  std::atomic<bool> second_is_back = false;
  CancelledThread second([&] {
    aaa_mlist_existed(1, 2, 3, "login");
    second_is_back = true;
  });
  first.cancel();
  EXPECT_TRUE(test::eventually([&] { return second_is_back.load(); }));
  expect_library_in_order();
}

TEST_F(ClientCancellation, AtAnyLineOfTheLogInAnExchangeLeavesTheLibraryInOrder) {
  for (const Exchange& exchange : exchanges()) {
    SCOPED_TRACE(exchange.name);
    cancel_at_each_line(Manner::good, !registers(exchange), [&] { exchange.make(); });
    cancel_at_each_line(Manner::other_type, !registers(exchange), [&] { exchange.make(); });
  }
}

TEST_F(ClientCancellation, AtAnyLineOfTheLogInARequestLeavesTheLibraryInOrder) {
  for (const OneWay& request : one_way_calls()) {
    SCOPED_TRACE(request.name);
    cancel_at_each_line(Manner::good, true, [&] { request.make(); });
  }
}

TEST_F(ClientCancellation, OfAWaitForAResultEndsItAtOnce) {
  begin();
  register_client(Manner::good);
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
  begin();
  register_client(Manner::good);
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
