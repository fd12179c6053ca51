// What the receive thread does before its first pass.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "log_lines.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"
#include "support/registered_test.h"
#include "transport/base/cancellation.h"

namespace test {
namespace {

class ReceiveThreadStart : public RegisteredTest {
 protected:
  void register_bound_to(std::int32_t core) {
    reg_info info = client();
    info.bind_core_id = core;
    register_client(info);
    take_pass();
  }

  WatchdogRecorder watchdog_;
};

std::vector<std::string> messages_of(const LogCapture& log, pid_t thread) {
  std::vector<std::string> messages;
  for (const LogLine& line : log.lines()) {
    if (line.thread() == std::to_string(thread)) messages.push_back(line.message());
  }
  return messages;
}

TEST_F(ReceiveThreadStart, TheStepsFollowEachOther) {
  const LogCapture log;
  watchdog_.answer(-1, EPERM);
  open_gate_for_clients();
  register_bound_to(1024);
  std::vector<std::string> messages = messages_of(log, receive_thread());
  ASSERT_GE(messages.size(), 4u);
  messages.resize(4);
  EXPECT_EQ((std::vector<std::string>{
                "aaa client is registered, not need register again.\r\n",
                "thread name: " + receive_thread_name() + ".\r\n",
                "ham_client_reg_thread_notify: Operation not permitted\r\n",
                "SET_AFFINITY\r\n",
            }),
            messages);
}

TEST_F(ReceiveThreadStart, EachLineNamesItsFunction) {
  const LogCapture log;
  watchdog_.answer(-1, EPERM);
  open_gate_for_clients();
  register_bound_to(1024);
  const pid_t thread = receive_thread();
  expect_debug_line(log, "aaa client is registered, not need register again.\r\n", "aaa_svr_rereg",
                    thread);
  expect_debug_line(log, "thread name: " + receive_thread_name() + ".\r\n", "set_thread_name",
                    thread);
  expect_debug_line(log, "ham_client_reg_thread_notify: Operation not permitted\r\n",
                    "aaa_lib_thread", thread);
  expect_debug_line(log, "SET_AFFINITY\r\n", "aaa_lib_thread", thread);
}

TEST_F(ReceiveThreadStart, TheThreadIsNamedAfterTheProcess) {
  register_client();
  EXPECT_NE(0, receive_thread());
}

TEST_F(ReceiveThreadStart, TheThreadRegistersItselfWithTheWatchdog) {
  register_client();
  take_pass();
  ASSERT_EQ(1u, watchdog_.count("reg"));
  const WatchdogCall call = watchdog_.calls().at(0);
  EXPECT_EQ(getpid(), call.pid);
  EXPECT_EQ(receive_thread(), call.tid);
  EXPECT_EQ(60u, call.interval);
  EXPECT_EQ(10u, call.tolerance);
}

TEST_F(ReceiveThreadStart, TheStampStartsAtTheUptime) {
  clock_.advance(100000);
  register_client();
  take_pass();
  take_pass();
  EXPECT_EQ(0u, watchdog_.count("reset"));
}

TEST_F(ReceiveThreadStart, WithoutAWatchdogTheThreadGoesOn) {
  watchdog_.answer(-1, EPERM);
  register_client();
  take_pass();
}

// The calls of pthread_setaffinity_np().
struct Binding {
  std::atomic<int> calls = 0;
  bool is_receive_thread = false;
  std::size_t size = 0;
  cpu_set_t cores = {};

  Scripts script(std::optional<int> result) {
    Scripts scripts;
    scripts.pthread_setaffinity_np = [this, result](pthread_t thread, std::size_t given,
                                                    const cpu_set_t* set) {
      is_receive_thread = pthread_equal(thread, aaa::load(aaa::g_receive_msg_tid)) != 0;
      size = given;
      cores = *set;
      ++calls;
      return result;
    };
    return scripts;
  }
};

TEST_F(ReceiveThreadStart, AnIdAboveZeroBindsTheThreadToThatProcessor) {
  for (const std::size_t core : {1, 3, 1023}) {
    const LogCapture log;
    open_gate_for_clients();
    Binding binding;
    const ScriptedCalls calls(binding.script(0));
    register_bound_to(static_cast<std::int32_t>(core));
    ASSERT_EQ(1, binding.calls);
    EXPECT_TRUE(binding.is_receive_thread);
    EXPECT_EQ(128u, binding.size);
    EXPECT_EQ(1, CPU_COUNT(&binding.cores));
    EXPECT_TRUE(CPU_ISSET(core, &binding.cores));
    EXPECT_EQ(0u, log.count("SET_AFFINITY\r\n"));
    stop_library();
  }
}

TEST_F(ReceiveThreadStart, AnIdOf1024OrMoreLeavesTheSetEmptyAndTheSystemRefusesIt) {
  for (const std::int32_t core : {1024, 1025, 0x7fffffff}) {
    const LogCapture log;
    open_gate_for_clients();
    Binding binding;
    const ScriptedCalls calls(binding.script(std::nullopt));
    register_bound_to(core);
    ASSERT_EQ(1, binding.calls);
    EXPECT_EQ(128u, binding.size);
    EXPECT_EQ(0, CPU_COUNT(&binding.cores));
    EXPECT_EQ(1u, log.count("SET_AFFINITY\r\n"));
    stop_library();
  }
}

TEST_F(ReceiveThreadStart, IdsOfZeroAndBelowBindNothing) {
  for (const std::int32_t core : {0, -1, -2147483647}) {
    Binding binding;
    const ScriptedCalls calls(binding.script(0));
    register_bound_to(core);
    EXPECT_EQ(0, binding.calls);
    stop_library();
  }
}

TEST_F(ReceiveThreadStart, AClosedGateHidesTheSteps) {
  const LogCapture log;
  watchdog_.answer(-1, EPERM);
  register_bound_to(1024);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ReceiveThreadStart, AClientMayStartBeforeAaad) {
  sim_.stop();
  const reg_info info = client();
  ASSERT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(0, aaa_is_alive());
  ASSERT_TRUE(eventually([this] { return clock_.sleeps() > 60; }));
  EXPECT_EQ(0u, watchdog_.count("reg"));
  EXPECT_TRUE(threads_named(receive_thread_name()).empty());
  sim_.start();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ(1, aaa_is_alive());
  receive_thread();
  EXPECT_TRUE(eventually([this] { return watchdog_.count("reg") == 1; }));
  EXPECT_EQ(0u, watchdog_.count("reset"));
}

TEST_F(ReceiveThreadStart, AThreadThatIsNotRegisteredEnds) {
  sim_.stop();
  const OpenGate gate;
  const LogCapture log;
  const reg_info info = client();
  ASSERT_EQ(0, aaa_svr_reg(&info));
  ASSERT_TRUE(eventually([] { return state() == AAA_REG_LOST; }));
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  EXPECT_TRUE(log.wait_for("aaa client not registered to aaad. exit thread.\r\n"));
  const LogLine line = log.find("aaa client not registered to aaad. exit thread.\r\n");
  expect_debug_line(log, line.message(), "aaa_lib_thread", std::stoi(line.thread()));
  EXPECT_EQ(0u, watchdog_.calls().size());
  EXPECT_EQ(std::vector<std::uint32_t>{AAA_EVENT_REGISTERED}, client_events());
}

TEST_F(ReceiveThreadStart, TheStartRoutineReturnsNull) {
  register_client();
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  void* result = this;
  std::thread([&result] {
    const aaa::CancellationScope unchanged(PTHREAD_CANCEL_ENABLE);
    aaa::thread_will_start(aaa::ThreadRole::receive);
    result = aaa::aaa_lib_thread(nullptr);
  }).join();
  EXPECT_EQ(nullptr, result);
  aaa::store(g_aaa_client_cb.aaa_id, 1);
}

}  // namespace
}  // namespace test
