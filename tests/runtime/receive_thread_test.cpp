// What the receive thread does before its first pass, the ways in which it ends, and that there is
// never more than one.
#include "runtime/receive/receive_thread.h"

#include <atomic>

#include "runtime/receive_test.h"
#include "runtime/send/library_threads.h"
#include "transport/base/cancellation.h"

namespace test::receive_thread {

constexpr char kNoWatchdogLine[] = "ham_client_reg_thread_notify: Operation not permitted\r\n";

class ReceiveThreadStart : public ReceiveTest {
 protected:
  void register_bound_to(std::int32_t core) {
    reg_info info = client();
    info.bind_core_id = core;
    register_client(info);
    take_pass();
  }

  LogCapture log_;
  WatchdogRecorder watchdog_;
};

TEST_F(ReceiveThreadStart, TheStepsFollowEachOtherAndEachLineNamesItsFunction) {
  watchdog_.answer(-1, EPERM);
  open_gate_for_clients();
  register_bound_to(1024);
  const pid_t thread = receive_thread();
  const std::pair<const char*, std::string> steps[] = {
      {"aaa_svr_rereg", "aaa client is registered, not need register again.\r\n"},
      {"set_thread_name", "thread name: " + receive_thread_name() + ".\r\n"},
      {"aaa_lib_thread", kNoWatchdogLine},
      {"aaa_lib_thread", "SET_AFFINITY\r\n"}};
  std::vector<std::string> messages;
  for (const LogLine& line : log_.lines())
    if (line.thread() == std::to_string(thread)) messages.push_back(line.message());
  ASSERT_GE(messages.size(), 4u);
  for (std::size_t n = 0; n < 4; ++n) {
    EXPECT_EQ(steps[n].second, messages[n]);
    expect_line(log_, steps[n].first, steps[n].second, thread);
  }
}

TEST_F(ReceiveThreadStart, AClosedGateHidesTheStepsAndWithoutAWatchdogTheThreadGoesOn) {
  watchdog_.answer(-1, EPERM);
  register_bound_to(1024);
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(ReceiveThreadStart, TheThreadRegistersItselfWithTheWatchdog) {
  clock_.advance(100000);
  register_client();
  take_pass();
  take_pass();
  ASSERT_EQ(1u, watchdog_.count("reg"));
  const WatchdogCall call = watchdog_.calls().at(0);
  EXPECT_EQ(getpid(), call.pid);
  EXPECT_EQ(receive_thread(), call.tid);
  EXPECT_EQ(60u, call.interval);
  EXPECT_EQ(10u, call.tolerance);
  EXPECT_EQ(0u, watchdog_.count("reset")) << "the stamp starts at the uptime";
}

struct Binding {
  std::int32_t core;
  int calls;
  int cores_in_set;
};

TEST_F(ReceiveThreadStart, AnIdAboveZeroBindsTheThreadToThatProcessor) {
  for (const Binding& binding : {Binding{1, 1, 1},
                                 {3, 1, 1},
                                 {1023, 1, 1},
                                 {1024, 1, 0},
                                 {1025, 1, 0},
                                 {0x7fffffff, 1, 0},
                                 {0, 0, 0},
                                 {-1, 0, 0},
                                 {-2147483647, 0, 0}}) {
    SCOPED_TRACE(binding.core);
    const LogCapture log;
    open_gate_for_clients();
    std::atomic<int> calls = 0;
    const auto bind = [&](pthread_t thread, std::size_t size,
                          const cpu_set_t* cores) -> std::optional<int> {
      EXPECT_TRUE(pthread_equal(thread, aaa::load(aaa::g_receive_msg_tid)));
      EXPECT_EQ(128u, size);
      EXPECT_EQ(binding.cores_in_set, CPU_COUNT(cores));
      EXPECT_TRUE(binding.cores_in_set == 0 || CPU_ISSET(binding.core, cores));
      ++calls;
      // The system refuses an empty set.
      return binding.cores_in_set == 1 ? std::optional<int>(0) : std::nullopt;
    };
    const ScriptedCalls scripted({.pthread_setaffinity_np = bind});
    register_bound_to(binding.core);
    EXPECT_EQ(binding.calls, calls);
    EXPECT_EQ(binding.calls - binding.cores_in_set, log.count("SET_AFFINITY\r\n"));
    stop_library();
  }
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
  constexpr char line[] = "aaa client not registered to aaad. exit thread.\r\n";
  sim_.stop();
  const OpenGate gate;
  const reg_info info = client();
  ASSERT_EQ(0, aaa_svr_reg(&info));
  ASSERT_TRUE(eventually([] { return state() == AAA_REG_LOST; }));
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  EXPECT_TRUE(log_.wait_for(line));
  expect_line(log_, "aaa_lib_thread", line, std::stoi(log_.find(line).thread()));
  EXPECT_EQ(0u, watchdog_.calls().size());
  EXPECT_THAT(client_events(), ElementsAre(AAA_EVENT_REGISTERED));
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

class ReceiveThreadEnd : public ReceiveTest {
 protected:
  // Expects that the thread takes its entry with it.
  void expect_unwatched(pid_t thread) {
    EXPECT_TRUE(receive_thread_is_gone());
    ASSERT_EQ(1u, watchdog_.count("unreg"));
    EXPECT_EQ(thread, watchdog_.calls().back().tid);
  }

  WatchdogRecorder watchdog_;
};

TEST_F(ReceiveThreadEnd, AtAFailureItFindsTheClientDeregistered) {
  register_client();
  const pid_t thread = receive_thread();
  take_pass();
  const int sockets[2] = {aaa::load(g_aaa_client_cb.sync_fd), event_socket()};
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  sim_.close_connections();
  expect_unwatched(thread);
  EXPECT_EQ(AAA_REG_NOT_REGISTERED, state());
  EXPECT_THAT(client_events(), ElementsAre(1, 3));
  // It leaves the sockets to whoever deregistered.
  EXPECT_EQ(sockets[0], aaa::load(g_aaa_client_cb.sync_fd));
  EXPECT_EQ(sockets[1], event_socket());
  EXPECT_EQ(0, aaa_lib_client_close());
}

TEST_F(ReceiveThreadEnd, WhenTheEventSocketHasBeenClosed) {
  const LogCapture log;
  open_gate_for_clients();
  register_client();
  const pid_t thread = receive_thread();
  take_pass();
  aaalib_ipc_msg_proc_dereg_response();
  expect_unwatched(thread);
  expect_line(log, "aaa_lib_thread", "aaa client async socket not created.\r\n", thread);
  EXPECT_EQ(-1, event_socket());
}

TEST_F(ReceiveThreadEnd, WhenItIsCancelledInItsWait) {
  {
    std::atomic<int> waits = 0;
    const ScriptedCalls calls({.poll = noting([&] { ++waits; })});
    register_client();
    ASSERT_TRUE(eventually([&] { return waits == 1; }));
  }
  const pid_t thread = receive_thread();
  EXPECT_EQ(0, aaa_svr_dereg());
  expect_unwatched(thread);
  EXPECT_EQ(pthread_t{0}, aaa::g_receive_msg_tid);
}

TEST_F(ReceiveThreadEnd, WhenItIsCancelledWhileItReadsABody) {
  register_client();
  take_pass();
  const std::uint32_t blocks = live_blocks();
  send_raw(word_bytes({0x01010101, 0, 126, 1000}) + zeros(10));
  ASSERT_TRUE(eventually([&] { return live_blocks() == blocks + 1; }));
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(receive_thread_is_gone());
}

TEST_F(ReceiveThreadEnd, WhenItIsCancelledBetweenAttempts) {
  register_client();
  lose_aaad();
  {
    const aaa::ScopedLock lock(aaa_lib_lock);
    aaa::aaalib_cancel_receive_thread();
  }
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

TEST_F(ReceiveThreadEnd, AfterDeregistrationNoMessageIsRead) {
  for (int round = 0; round < 20; ++round) {
    register_client();
    for (int i = 0; i < 20; ++i)
      sim_.send_message({}, Role::event, AAA_MSG_MLIST_CHANGE, 0);
    EXPECT_EQ(0, aaa_svr_dereg());
    const std::size_t told_before = times_told(AAA_EVENT_METHOD_LISTS_CHANGED);
    EXPECT_TRUE(receive_thread_is_gone());
    EXPECT_LE(times_told(AAA_EVENT_METHOD_LISTS_CHANGED), told_before + 1);
  }
}

TEST_F(ReceiveThreadEnd, AClientMayDeregisterInsideACallback) {
  std::atomic<std::int32_t> result = 1;
  notes.then = [&](const std::string&) { result = aaa_svr_dereg(); };
  register_client(noting_client());
  send(AAA_MSG_NOTIFY_DEL_MSG, zeros(560));
  EXPECT_TRUE(eventually([&] { return result == 0; }));
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_THAT(locks_held(), IsEmpty());
  EXPECT_EQ(0, aaa_is_alive());
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

TEST_F(ReceiveThreadEnd, AClientMayDeregisterAndRegisterAgainInsideACallback) {
  std::atomic<bool> came_back;
  register_noting([&](const std::string& told) {
    if (!told.starts_with("coa")) return;
    const reg_info again = noting_client();
    came_back = aaa_svr_dereg() == 0 && aaa_svr_reg(&again) == 0;
  });
  for (std::size_t round = 1; round <= 5; ++round) {
    const pid_t before = receive_thread();
    came_back = false;
    send(AAA_MSG_NOTIFY_COA_REQ, zeros(720));
    ASSERT_TRUE(eventually([&] { return came_back.load(); }));
    const pid_t after = receive_thread();
    EXPECT_NE(before, after);
    EXPECT_TRUE(sim_.wait_for_clients(1));
    send(AAA_MSG_DEL_MSG_REQ, word_bytes({1, 2, 3}));
    EXPECT_TRUE(wait_for_notes(2 * round));
    EXPECT_EQ(after, notes.all().back().thread);
  }
}

TEST_F(ReceiveThreadEnd, RegisteringAtOnceAfterDeregisteringGivesOneThread) {
  for (int round = 0; round < 20; ++round) {
    register_client();
    EXPECT_EQ(0, aaa_svr_dereg());
    register_client();
    EXPECT_NE(0, receive_thread());
    take_pass();
    EXPECT_EQ(0, aaa_svr_dereg());
  }
}

TEST_F(ReceiveThreadEnd, ManyThreadsThatRegisterGetOneThread) {
  on_threads(4, [](std::uint32_t) {
    const reg_info info = client();
    EXPECT_EQ(0, aaa_svr_reg(&info));
  });
  EXPECT_NE(0, receive_thread());
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_THAT(client_events(), ElementsAre(1));
  EXPECT_EQ(1, aaa_is_alive());
  take_pass();
}

}  // namespace test::receive_thread
