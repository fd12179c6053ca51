// The flush thread of a client that asked for batches.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include "bytes.h"
#include "log_lines.h"
#include "runtime/send/send_buffer.h"
#include "session/state/locks.h"
#include "support/registered_test.h"

namespace test {
namespace {

constexpr char log_name[] = "aaa_lib_send_buf_chk_thread";

class FlushThread : public RegisteredTest {
 protected:
  void register_with_buffer() {
    reg_info info = client();
    info.use_send_buf = 1;
    register_client(info);
  }
  pid_t flush_thread() {
    EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).size() == 1; }));
    return threads_named(flush_thread_name()).at(0);
  }
  static void add(const Bytes& message) {
    aaa_lib_add_send_buf(message.data(), static_cast<std::uint32_t>(message.size()));
  }
  std::size_t batches() { return sim_.count(received(AAA_MSG_PAD_PKT)); }
  // Watchdog calls of this name made for one thread.
  std::ptrdiff_t calls(const char* name, pid_t thread) {
    const std::vector<WatchdogCall> all = watchdog_.calls();
    return std::count_if(all.begin(), all.end(), [&](const WatchdogCall& call) {
      return call.name == name && call.tid == thread && call.pid == getpid() &&
             call.interval == 60 && call.tolerance == 10;
    });
  }

  WatchdogRecorder watchdog_;
};

// Counts the thread's waits; those in between fail as long as `error` is not 0.
struct Waits {
  std::atomic<std::uint32_t> count = 0;
  std::atomic<int> error = 0;

  Scripts script() {
    Scripts scripts;
    scripts.select = [this](const timeval& timeout) -> std::optional<int> {
      if (timeout.tv_sec != 0 || timeout.tv_usec != 20000) ADD_FAILURE() << timeout.tv_usec;
      ++count;
      if (error == 0) return std::nullopt;
      pause_in_script();
      errno = error;
      return -1;
    };
    return scripts;
  }
  bool pass(std::uint32_t more) {
    const std::uint32_t goal = count + more;
    return eventually([&] { return count >= goal; });
  }
};

TEST_F(FlushThread, IsNamedAfterTheProcess) {
  const LogCapture log;
  open_gate_for_clients();
  register_with_buffer();
  const pid_t thread = flush_thread();
  const std::string line = "thread name: " + flush_thread_name() + ".\r\n";
  EXPECT_TRUE(log.wait_for(line));
  expect_debug_line(log, line, "set_thread_name", thread);
}

TEST_F(FlushThread, RegistersWithTheWatchdog) {
  register_with_buffer();
  const pid_t thread = flush_thread();
  EXPECT_TRUE(eventually([&] { return calls("reg", thread) == 1; }));
}

TEST_F(FlushThread, GoesOnWithoutAWatchdog) {
  const LogCapture log;
  watchdog_.answer(-1, EPERM);
  open_gate_for_clients();
  register_with_buffer();
  const pid_t thread = flush_thread();
  const std::string line = "ham_client_reg_thread_notify: Operation not permitted\r\n";
  EXPECT_TRUE(eventually([&] { return log.count(line) == 2; }));
  expect_debug_line(log, line, log_name, thread);
  add(request(20, 1));
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_PAD_PKT)));
}

TEST_F(FlushThread, FeedsTheWatchdogEveryFiftySeconds) {
  Waits waits;
  const ScriptedCalls calls_replaced(waits.script());
  register_with_buffer();
  const pid_t thread = flush_thread();
  ASSERT_TRUE(waits.pass(3));
  EXPECT_EQ(0, calls("reset", thread));
  clock_.advance(51);
  EXPECT_TRUE(eventually([&] { return calls("reset", thread) == 1; }));
  ASSERT_TRUE(waits.pass(3));
  EXPECT_EQ(1, calls("reset", thread));
  stop_library();
}

TEST_F(FlushThread, WritesTheBufferWithinAPeriodAndEmptiesIt) {
  register_with_buffer();
  {
    const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
    add(request(20, 1));
    add(request(24, 2));
  }
  const auto batch = sim_.wait_for_message(received(AAA_MSG_PAD_PKT));
  ASSERT_TRUE(batch);
  EXPECT_EQ(Role::request, batch->role);
  EXPECT_EQ(words({0x01010101, 0, 25, 44}) + request(20, 1) + request(24, 2), batch->bytes);
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
  EXPECT_EQ(Bytes(8192, 0), bytes_of(aaalib_send_buf.body, 8192));
}

TEST_F(FlushThread, WaitsTwentyMillisecondsAndSendsNothingWhenThereIsNothing) {
  Waits waits;
  const ScriptedCalls calls_replaced(waits.script());
  register_with_buffer();
  EXPECT_TRUE(waits.pass(5));
  EXPECT_EQ(0u, batches());
  stop_library();
}

TEST_F(FlushThread, AFailedWaitIsLoggedAndFollowedByNoFlush) {
  const LogCapture log;
  Waits waits;
  waits.error = EINTR;
  const ScriptedCalls calls_replaced(waits.script());
  open_gate_for_clients();
  register_with_buffer();
  add(request(20, 1));
  EXPECT_TRUE(waits.pass(5));
  EXPECT_EQ(0u, batches());
  expect_debug_line(log, "select error! errno:4.\r\n", log_name, flush_thread());
  waits.error = 0;
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_PAD_PKT)));
  stop_library();
}

TEST_F(FlushThread, ABatchIsDroppedWhileTheConnectionIsLost) {
  register_with_buffer();
  set_listening(false);
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  const LogCapture log;
  const OpenGate gate;
  add(request(20, 1));
  EXPECT_TRUE(log.wait_for("send sd not available.\r\n"));
  set_listening(true);
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  add(request(20, 2));
  const auto batch = sim_.wait_for_message(received(AAA_MSG_PAD_PKT));
  ASSERT_TRUE(batch);
  EXPECT_EQ(request(20, 2), Bytes(batch->body().begin(), batch->body().end()));
}

TEST_F(FlushThread, RunsOnlyWhenAskedFor) {
  register_client();
  receive_thread();
  EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
  EXPECT_TRUE(threads_named(flush_thread_name()).empty());
}

TEST_F(FlushThread, EndsWithTheRegistration) {
  register_with_buffer();
  flush_thread();
  EXPECT_NE(pthread_t{0}, g_send_buf_tid);
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
  EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).empty(); }));
}

TEST_F(FlushThread, RequestsInTheBufferAreDroppedAtDeregistration) {
  register_with_buffer();
  {
    const aaa::ScopedLock first(aaa_lib_lock);
    const aaa::ScopedLock second(aaa_lib_send_buf_lock);
    add(request(20, 1));
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_EQ(0u, g_send_buf_msg_cnt);
    EXPECT_EQ(0u, aaalib_send_buf.header.length);
  }
  EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).empty(); }));
  EXPECT_EQ(0u, batches());
}

TEST_F(FlushThread, RequestsAreBufferedWhileItRunsAndSentDirectlyAfterwards) {
  const std::uint32_t control[3] = {1, 2, 3};
  register_with_buffer();
  EXPECT_EQ(0, aaa_notify_ctrl_if_switch(control));
  const auto buffered = sim_.wait_for_message(received(AAA_MSG_INTERFACE_CONTROL));
  ASSERT_TRUE(buffered);
  EXPECT_TRUE(buffered->in_batch);
  EXPECT_EQ(0, aaa_svr_dereg());
  sim_.clear_messages();
  register_client();
  EXPECT_EQ(0, aaa_notify_ctrl_if_switch(control));
  const auto direct = sim_.wait_for_message(received(AAA_MSG_INTERFACE_CONTROL));
  ASSERT_TRUE(direct);
  EXPECT_FALSE(direct->in_batch);
}

TEST_F(FlushThread, IsNotStartedWithoutThreadAttributes) {
  const LogCapture log;
  const OpenGate gate;
  Scripts scripts;
  scripts.pthread_attr_init = [] { return ENOMEM; };
  const ScriptedCalls calls_replaced(scripts);
  EXPECT_EQ(-1, aaalib_init_send_buf_thread());
  expect_debug_line(log, "aaalib attr init failed\r\n", "aaalib_init_send_buf_thread");
  EXPECT_EQ(1u, log.lines().size());
  EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
}

TEST_F(FlushThread, IsNotThereWhenItCannotBeCreated) {
  const LogCapture log;
  const OpenGate gate;
  Scripts scripts;
  scripts.pthread_create = [] { return EAGAIN; };
  const ScriptedCalls calls_replaced(scripts);
  EXPECT_EQ(-1, aaalib_init_send_buf_thread());
  expect_debug_line(log, "aaalib create send buffer thread failed\r\n",
                    "aaalib_init_send_buf_thread");
  EXPECT_EQ(1u, log.lines().size());
  EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
}

TEST_F(FlushThread, IsStartedWithResultZero) {
  EXPECT_EQ(0, aaalib_init_send_buf_thread());
  flush_thread();
  EXPECT_TRUE(aaa::aaalib_stop_send_buf_thread());
}

TEST_F(FlushThread, TakesItsWatchdogEntryWithIt) {
  register_with_buffer();
  const pid_t thread = flush_thread();
  EXPECT_TRUE(eventually([&] { return calls("reg", thread) == 1; }));
  EXPECT_EQ(0, aaa_svr_dereg());
  const std::vector<WatchdogCall> all = watchdog_.calls();
  EXPECT_EQ(1, std::count_if(all.begin(), all.end(), [&](const WatchdogCall& call) {
              return call.name == "unreg" && call.tid == thread;
            }));
}

// The link is lost while a request waits in the buffer, and connecting anew takes its time between
// the two sockets: what is first on the new request socket is the register request.
TEST_F(FlushThread, LeavesTheBufferAloneUntilTheRegisterRequestIsWritten) {
  register_with_buffer();
  take_pass();
  sim_.clear_messages();
  std::atomic<int> connects = 0;
  std::atomic<bool> added = false;
  Waits waits;
  Scripts scripts = waits.script();
  scripts.connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
    if (++connects != 2) return std::nullopt;
    add(request(16, 1));
    added = true;
    EXPECT_TRUE(waits.pass(3)) << "the flush thread has had its chance";
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  sim_.close_connections();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_TRUE(added);
  EXPECT_TRUE(eventually([&] { return batches() == 1; })) << "kept, not dropped";
  const auto place_of = [all = sim_.messages()](std::uint32_t type) {
    return std::find_if(all.begin(), all.end(),
                        [&](const auto& message) { return message.header.type == type; }) -
           all.begin();
  };
  EXPECT_LT(place_of(AAA_MSG_REGISTER_REQ), place_of(AAA_MSG_PAD_PKT));
}

TEST_F(FlushThread, AForcedFlushFindsNoSocketUntilTheRegisterRequestIsWritten) {
  register_with_buffer();
  take_pass();
  const LogCapture log;
  aaa_set_debug_switch(1);
  std::atomic<int> connects = 0;
  Scripts scripts;
  scripts.connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
    if (++connects != 2) return std::nullopt;
    for (std::uint8_t i = 0; i < 17; ++i)
      add(request(16, i));
    add(request(8192, 1));
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  sim_.clear_messages();
  sim_.close_connections();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_LE(1u, log.count("send sd not available.\r\n"));
  EXPECT_EQ(1u, log.count("send fail error Invalid argument.\r\n"));
  EXPECT_EQ(0u, sim_.count(received(5)));
}

}  // namespace
}  // namespace test
