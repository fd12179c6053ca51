// The flush thread of a client that asked for batches.
#include <algorithm>
#include <atomic>

#include "runtime/send_buffer_test.h"
#include "support/locked_state.h"
#include "support/registered_test.h"
#include "support/stopping_point.h"

namespace test::flush_thread {

constexpr char kFunction[] = "aaa_lib_send_buf_chk_thread";
constexpr char kNoWatchdogLine[] = "ham_client_reg_thread_notify: Operation not permitted\r\n";

bool flush_thread_is_gone() {
  return eventually([] { return threads_named(flush_thread_name()).empty(); });
}

class FlushThread : public RegisteredTest {
 protected:
  pid_t flush_thread() {
    EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).size() == 1; }));
    return threads_named(flush_thread_name()).at(0);
  }
  // Registers, and returns the flush thread.
  pid_t register_with_buffer() {
    register_client(batching_client());
    return flush_thread();
  }
  std::size_t batches() { return sim_.count(received(AAA_MSG_PAD_PKT)); }
  std::string next_batch() {
    const auto batch = sim_.wait_for_message(received(AAA_MSG_PAD_PKT));
    EXPECT_TRUE(batch && batch->role == Role::request);
    return batch ? bytes_of(*batch) : "";
  }
  // Watchdog calls of this name made for one thread.
  std::ptrdiff_t calls(const char* name, pid_t thread) {
    const std::vector<WatchdogCall> all = watchdog_.calls();
    return std::count_if(all.begin(), all.end(), [&](const WatchdogCall& call) {
      return call.name == name && call.tid == thread && call.pid == getpid() &&
             call.interval == 60 && call.tolerance == 10;
    });
  }

  LogCapture log_;
  WatchdogRecorder watchdog_;
};

// Counts the thread's waits; those in between fail as long as `error` is not 0.
struct Waits {
  std::atomic<std::uint32_t> count = 0;
  std::atomic<int> error = 0;

  Scripts scripts() {
    return {.select = [this](const timeval& timeout) -> std::optional<int> {
      if (timeout.tv_sec != 0 || timeout.tv_usec != 20000) ADD_FAILURE() << timeout.tv_usec;
      ++count;
      if (error == 0) return std::nullopt;
      pause_in_script();
      return fails(error);
    }};
  }
  bool pass(std::uint32_t more) {
    const std::uint32_t goal = count + more;
    return eventually([&] { return count >= goal; });
  }
};

TEST_F(FlushThread, IsNamedAfterTheProcessAndRegistersWithTheWatchdogWhileItRuns) {
  open_gate_for_clients();
  const pid_t thread = register_with_buffer();
  const std::string line = "thread name: " + flush_thread_name() + ".\r\n";
  EXPECT_TRUE(log_.wait_for(line));
  expect_line(log_, "set_thread_name", line, thread);
  EXPECT_TRUE(eventually([&] { return calls("reg", thread) == 1; }));
  EXPECT_NE(pthread_t{0}, g_send_buf_tid);
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
  EXPECT_TRUE(flush_thread_is_gone());
  const std::vector<WatchdogCall> all = watchdog_.calls();
  EXPECT_EQ(1, std::count_if(all.begin(), all.end(), [&](const WatchdogCall& call) {
              return call.name == "unreg" && call.tid == thread;
            }));
}

TEST_F(FlushThread, GoesOnWithoutAWatchdog) {
  watchdog_.answer(-1, EPERM);
  open_gate_for_clients();
  const pid_t thread = register_with_buffer();
  EXPECT_TRUE(eventually([&] { return log_.count(kNoWatchdogLine) == 2; }));
  EXPECT_EQ(1u, expect_lines(log_, kFunction, kNoWatchdogLine, thread));
  add(request(20, 1));
  EXPECT_EQ(batch_of(request(20, 1)), next_batch());
}

TEST_F(FlushThread, FeedsTheWatchdogEveryFiftySeconds) {
  Waits waits;
  const ScriptedCalls scripted(waits.scripts());
  const pid_t thread = register_with_buffer();
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
  EXPECT_EQ(word_bytes({0x01010101, 0, 25, 44}) + request(20, 1) + request(24, 2), next_batch());
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
  EXPECT_EQ(zeros(8192), bytes_of(aaalib_send_buf.body, 8192));
}

TEST_F(FlushThread, WaitsTwentyMillisecondsAndSendsNothingWhenThereIsNothing) {
  Waits waits;
  const ScriptedCalls scripted(waits.scripts());
  register_with_buffer();
  EXPECT_TRUE(waits.pass(5));
  EXPECT_EQ(0u, batches());
  stop_library();
}

TEST_F(FlushThread, AFailedWaitIsLoggedAndFollowedByNoFlush) {
  Waits waits;
  waits.error = EINTR;
  const ScriptedCalls scripted(waits.scripts());
  open_gate_for_clients();
  const pid_t thread = register_with_buffer();
  add(request(20, 1));
  EXPECT_TRUE(waits.pass(5));
  EXPECT_EQ(0u, batches());
  expect_lines(log_, kFunction, "select error! errno:4.\r\n", thread);
  waits.error = 0;
  EXPECT_EQ(batch_of(request(20, 1)), next_batch());
  stop_library();
}

TEST_F(FlushThread, ABatchIsDroppedWhileTheConnectionIsLost) {
  register_with_buffer();
  set_listening(false);
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  const OpenLog log;
  add(request(20, 1));
  EXPECT_TRUE(log.wait_for("send sd not available.\r\n"));
  set_listening(true);
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  add(request(20, 2));
  EXPECT_EQ(batch_of(request(20, 2)), next_batch());
}

TEST_F(FlushThread, RunsOnlyWhenAskedFor) {
  register_client();
  receive_thread();
  EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
  EXPECT_TRUE(threads_named(flush_thread_name()).empty());
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
  EXPECT_TRUE(flush_thread_is_gone());
  EXPECT_EQ(0u, batches());
}

TEST_F(FlushThread, RequestsAreBufferedWhileItRunsAndSentDirectlyAfterwards) {
  for (const bool buffered : {true, false}) {
    register_client(buffered ? batching_client() : client());
    const std::uint32_t control[3] = {1, 2, 3};
    EXPECT_EQ(0, aaa_notify_ctrl_if_switch(control));
    const auto request = sim_.wait_for_message(received(AAA_MSG_INTERFACE_CONTROL));
    ASSERT_TRUE(request);
    EXPECT_EQ(buffered, request->in_batch);
    EXPECT_EQ(0, aaa_svr_dereg());
    sim_.clear_messages();
  }
}

TEST_F(FlushThread, IsNotStartedWithoutThreadAttributesOrWhenItCannotBeCreated) {
  const std::pair<Scripts, std::string> scripts_and_lines[] = {
      {{.pthread_attr_init = returning(ENOMEM)}, "aaalib attr init failed\r\n"},
      {{.pthread_create = returning(EAGAIN)}, "aaalib create send buffer thread failed\r\n"}};
  test::set_model_name("test");
  for (const auto& [scripts, line] : scripts_and_lines) {
    const OpenLog log;
    const ScriptedCalls scripted(scripts);
    EXPECT_EQ(-1, aaalib_init_send_buf_thread());
    expect_only_line(log, "aaalib_init_send_buf_thread", line);
    EXPECT_EQ(pthread_t{0}, g_send_buf_tid);
  }
}

TEST_F(FlushThread, IsStartedOnceByHandWithResultZero) {
  std::atomic<int> started = 0;
  const ScriptedCalls scripted({.pthread_create = noting([&] { ++started; })});
  EXPECT_EQ(0, aaalib_init_send_buf_thread());
  flush_thread();
  const pthread_t first = aaa::load(g_send_buf_tid);
  EXPECT_EQ(0, aaalib_init_send_buf_thread());
  EXPECT_EQ(1, started);
  EXPECT_EQ(first, aaa::load(g_send_buf_tid));
  EXPECT_TRUE(aaa::aaalib_stop_send_buf_thread());
  EXPECT_EQ(0, aaalib_init_send_buf_thread());
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(pthread_t{0}, aaa::load(g_send_buf_tid));
}

TEST_F(FlushThread, AStuckBatchHoldsUpNoAnswerOfTheReceiveThread) {
  register_with_buffer();
  take_pass();
  StoppingPoint stuck;
  const ScriptedCalls calls({.send = on_request_socket(noting([&] { stuck.stop(); }))});
  add(request(20, 1));
  EXPECT_TRUE(stuck.is_reached());
  send(AAA_MSG_GS_VALID_REQ, zeros(396));
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_GS_VALID_RESP, Role::event)));
  EXPECT_FALSE(stuck.goes_on());
  stuck.go_on();
  EXPECT_EQ(batch_of(request(20, 1)), next_batch());
}

// The link is lost while a request waits in the buffer, and connecting anew takes its time between
// the two sockets: what is first on the new request socket is the register request.
TEST_F(FlushThread, LeavesTheBufferAloneUntilTheRegisterRequestIsWritten) {
  register_with_buffer();
  take_pass();
  sim_.clear_messages();
  std::atomic<int> connects = 0;
  Waits waits;
  Scripts scripts = waits.scripts();
  scripts.connect = noting([&] {
    if (++connects != 2) return;
    add(request(16, 1));
    EXPECT_TRUE(waits.pass(3)) << "the flush thread has had its chance";
  });
  const ScriptedCalls scripted(scripts);
  sim_.close_connections();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_LE(2, connects);
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
  aaa_set_debug_switch(1);
  std::atomic<int> connects = 0;
  const ScriptedCalls scripted({.connect = noting([&] {
                                  if (++connects != 2) return;
                                  add_many(17);
                                  add(request(8192, 1));
                                })});
  sim_.clear_messages();
  sim_.close_connections();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_LE(1u, log_.count("send sd not available.\r\n"));
  EXPECT_EQ(1u, log_.count("send fail error Invalid argument.\r\n"));
  EXPECT_EQ(0u, sim_.count(received(5)));
}

}  // namespace test::flush_thread
