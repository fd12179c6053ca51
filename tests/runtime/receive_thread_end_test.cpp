// The ways in which the receive thread ends, and that there is never more than one.
#include <unistd.h>

#include <atomic>
#include <thread>

#include "bytes.h"
#include "log_lines.h"
#include "runtime/receive/receive_thread.h"
#include "session/state/locks.h"
#include "support/registered_test.h"
#include "transport/message_endpoints.h"

namespace test {
namespace {

class ReceiveThreadEnd : public RegisteredTest {
 protected:
  // Waits until the thread sits in its wait for a message.
  void register_and_settle() {
    std::atomic<int> waits = 0;
    Scripts scripts;
    scripts.poll = [&](int, int) {
      ++waits;
      return std::nullopt;
    };
    const ScriptedCalls calls(scripts);
    register_client();
    ASSERT_TRUE(eventually([&] { return waits == 1; }));
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
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(AAA_REG_NOT_REGISTERED, state());
  EXPECT_EQ((std::vector<std::uint32_t>{1, 3}), client_events());
  ASSERT_EQ(1u, watchdog_.count("unreg"));
  EXPECT_EQ(thread, watchdog_.calls().back().tid);
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
  EXPECT_TRUE(receive_thread_is_gone());
  expect_debug_line(log, "aaa client async socket not created.\r\n", "aaa_lib_thread", thread);
  ASSERT_EQ(1u, watchdog_.count("unreg"));
  EXPECT_EQ(thread, watchdog_.calls().back().tid);
  EXPECT_EQ(-1, event_socket());
}

TEST_F(ReceiveThreadEnd, WhenItIsCancelled) {
  register_and_settle();
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(pthread_t{0}, aaa::g_receive_msg_tid);
  EXPECT_EQ(1u, watchdog_.count("unreg"));
}

TEST_F(ReceiveThreadEnd, WhenItIsCancelledWhileItReadsABody) {
  register_client();
  take_pass();
  const std::uint32_t blocks = live_blocks();
  send_raw(words({0x01010101, 0, 126, 1000}) + Bytes(10, 0));
  ASSERT_TRUE(eventually([&] { return live_blocks() == blocks + 1; }));
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(receive_thread_is_gone());
}

TEST_F(ReceiveThreadEnd, WhenItIsCancelledBetweenAttempts) {
  register_client();
  set_listening(false);
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
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

// A client that leaves, and perhaps comes back, inside a callback.
std::atomic<int> left = 1;
std::atomic<int> came_back = 1;
std::atomic<pid_t> served_by = 0;

reg_info restless_client() {
  reg_info info = client();
  info.notify_coa_req_cb = [](const void*) {
    left = aaa_svr_dereg();
    const reg_info again = restless_client();
    came_back = aaa_svr_reg(&again);
  };
  info.notify_del_msg_cb = [](const void*) { left = aaa_svr_dereg(); };
  info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t) { served_by = gettid(); };
  return info;
}

TEST_F(ReceiveThreadEnd, AClientMayDeregisterInsideACallback) {
  left = 1;
  register_client(restless_client());
  send(AAA_MSG_NOTIFY_DEL_MSG, Bytes(560, 0));
  EXPECT_TRUE(eventually([] { return left == 0; }));
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(0, aaa_is_alive());
  EXPECT_EQ((std::vector<std::uint32_t>{1, 0}), client_events());
}

TEST_F(ReceiveThreadEnd, AClientMayDeregisterAndRegisterAgainInsideACallback) {
  register_client(restless_client());
  for (int round = 0; round < 5; ++round) {
    const pid_t before = receive_thread();
    left = came_back = 1;
    served_by = 0;
    send(AAA_MSG_NOTIFY_COA_REQ, Bytes(720, 0));
    ASSERT_TRUE(eventually([] { return left == 0 && came_back == 0; }));
    const pid_t after = receive_thread();
    EXPECT_NE(before, after);
    EXPECT_TRUE(sim_.wait_for_clients(1));
    send(AAA_MSG_DEL_MSG_REQ, words({1, 2, 3}));
    EXPECT_TRUE(eventually([] { return served_by != 0; }));
    EXPECT_EQ(after, served_by);
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
  std::vector<std::thread> clients;
  for (int i = 0; i < 4; ++i) {
    clients.emplace_back([] {
      const reg_info info = client();
      EXPECT_EQ(0, aaa_svr_reg(&info));
    });
  }
  for (std::thread& one : clients)
    one.join();
  EXPECT_NE(0, receive_thread());
  EXPECT_EQ(2u, sim_.accepted_connections());
  take_pass();
}

}  // namespace
}  // namespace test
