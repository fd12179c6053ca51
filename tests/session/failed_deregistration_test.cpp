// Deregistrations that go wrong.
#include <fcntl.h>

#include "session/session_test.h"
#include "transport/read_ahead.h"

namespace test::failed_deregistration {

constexpr std::uint32_t kDeregister = 2;

class FailedDeregistration : public DeregistrationTest {
 protected:
  static void expect_still_registered() {
    EXPECT_EQ(4, g_aaa_client_cb.reg_state);
    EXPECT_EQ(1, g_aaa_client_cb.aaa_id);
    EXPECT_GT(g_aaa_client_cb.sync_fd, 0);
    EXPECT_GT(g_aaa_client_cb.async_fd, 0);
    EXPECT_NE(nullptr, g_aaa_client_cb.aaa_event_cb);
    EXPECT_THAT(client_events(), ElementsAre(1));
  }
  std::int32_t deregister_with_failing_send() {
    const ScriptedCalls calls({.send = on_request_socket(failing(ENOBUFS))});
    return deregister();
  }
};

TEST_F(FailedDeregistration, AFailedSendLeavesEverythingAsItWas) {
  register_client();
  const pthread_t thread = aaa::load(aaa::g_receive_msg_tid);
  EXPECT_EQ(-1, deregister_with_failing_send());
  EXPECT_TRUE(pthread_equal(thread, aaa::load(aaa::g_receive_msg_tid)));
  EXPECT_THAT(messages_, ElementsAre("send deregister message fail.\r\n", "deregister error!\r\n"));
  EXPECT_THAT(functions_, ElementsAre("aaa_client_dereg", "aaa_client_dereg"));
  expect_still_registered();
  aaa_set_debug_switch(0);
  EXPECT_EQ(-1, deregister_with_failing_send());
  EXPECT_THAT(messages_, IsEmpty()) << "behind a closed gate";
  EXPECT_EQ(0, aaa_svr_dereg());
}

TEST_F(FailedDeregistration, AnAaadThatClosesDoesNotKeepTheClientRegistered) {
  sim_.set_fault(Role::request, kDeregister, Fault::close);
  register_quietly();
  const std::string fd = sync_fd();
  EXPECT_EQ(0, deregister());
  EXPECT_THAT(messages_,
              ElementsAre("receive deregister response fail, client " + fd + " break!\r\n",
                          "deregister to aaad success!\r\n"));
  EXPECT_THAT(functions_, ElementsAre("aaa_client_dereg", "aaa_svr_dereg"));
  expect_deregistered();
}

TEST_F(FailedDeregistration, TheThreadsEndAlsoWhenAaadCloses) {
  sim_.set_fault(Role::request, kDeregister, Fault::close);
  register_client(batching_client());
  EXPECT_EQ(0, deregister());
  expect_deregistered();
}

TEST_F(FailedDeregistration, ASilentAaadDoesNotKeepTheClientRegistered) {
  sim_.set_fault(Role::request, kDeregister, Fault::silent);
  register_quietly();
  const std::string fd = sync_fd();
  MovedClock clock;
  const ScriptedCalls calls(
      {.recv = on_request_socket([&](auto&&...) { return clock.advance(2), fails(EAGAIN); })});
  EXPECT_EQ(0, deregister());
  EXPECT_EQ("receive deregister response fail, client " + fd + " break!\r\n", messages_.front());
  expect_deregistered();
}

TEST_F(FailedDeregistration, AnotherTypeIsAFailureAndEndsTheRequestSocket) {
  sim_.set_fault(Role::request, kDeregister, Fault::wrong_type);
  register_quietly();
  const std::int32_t number = g_aaa_client_cb.sync_fd;
  EXPECT_EQ(-1, deregister());
  EXPECT_THAT(messages_,
              ElementsAre(": aaa lib receive message from aaad type (notify result), len(0).\r\n",
                          "receive message dismatch, type is 103\r\n", "deregister error!\r\n"));
  EXPECT_THAT(functions_, Each("aaa_client_dereg"));
  expect_still_registered();
  EXPECT_EQ(number, g_aaa_client_cb.sync_fd);
  EXPECT_TRUE(sim_.wait_for_connections(1)) << "the request socket";
}

TEST_F(FailedDeregistration, AMessageThatCameBehindAnAnswerIsTakenForTheResponse) {
  register_quietly();
  ScriptedPeer peer;
  peer.peer_writes("x" + message_bytes(103, "password"));
  {
    const aaa::ScopedLock lock(aaa_lib_lock);
    char answer = 0;
    std::size_t received = 0;
    EXPECT_EQ(0, aaa::request_read_ahead.receive(peer.own(), &answer, 1, received));
  }
  EXPECT_EQ(-1, deregister());
  EXPECT_THAT(messages_, Contains("receive message dismatch, type is 103\r\n"));
  EXPECT_EQ(0u, aaa::request_read_ahead.size()) << "dropped with the socket";
  expect_still_registered();
}

TEST_F(FailedDeregistration, OnlyTheHeaderOfTheResponseIsRead) {
  sim_.set_answer(kDeregister, [](const Request&) -> Replies {
    return {{Role::request, 101, 0, {1, 2, 3, 4}}};
  });
  register_quietly();
  std::vector<std::size_t> sizes;
  const ScriptedCalls calls({.recv = on_request_socket([&](int, void*, std::size_t size, int) {
                               sizes.push_back(size);
                               return std::nullopt;
                             })});
  EXPECT_EQ(0, deregister());
  EXPECT_THAT(sizes, ElementsAre(16));
  EXPECT_EQ(": aaa lib receive message from aaad type (deregister response), len(4).\r\n",
            messages_.front());
  expect_deregistered();
}

TEST_F(FailedDeregistration, WithoutARequestSocketNoRequestIsSent) {
  for (const std::int32_t closed : {-1, 0}) {
    register_quietly();
    ::close(g_aaa_client_cb.sync_fd);
    aaa::store(g_aaa_client_cb.sync_fd, closed);
    EXPECT_EQ(0, deregister());
    EXPECT_THAT(messages_, ElementsAre("deregister to aaad success!\r\n"));
    EXPECT_EQ(1, g_aaa_client_cb.reg_state);
    EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
    aaa::store(g_aaa_client_cb.sync_fd, -1);
  }
  EXPECT_EQ(0u, sim_.count(received(kDeregister)));
}

TEST_F(FailedDeregistration, ASocketThatCannotBeClosedIsReportedWhenTheThreadsAreGone) {
  register_client(batching_client());
  {
    const ScriptedCalls calls({.close = on_event_socket(failing(EIO))});
    EXPECT_EQ(-1, deregister());
  }
  EXPECT_EQ("close socket error when deregister!\r\n", messages_.back());
  EXPECT_EQ("aaa_svr_dereg", functions_.back());
  EXPECT_FALSE(aaa::receive_thread_exists());
  EXPECT_FALSE(aaa::send_buffer_is_used());
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
  EXPECT_EQ(1, g_aaa_client_cb.aaa_id);
  EXPECT_THAT(client_events(), ElementsAre(1));
  EXPECT_EQ(0, aaa_svr_dereg());
}

// A client that is left with the closed number of its request socket on record, and whose own file
// has got that number meanwhile.
class ClosedNumber : public FailedDeregistration {
 protected:
  void SetUp() override {
    FailedDeregistration::SetUp();
    sim_.set_fault(Role::request, kDeregister, Fault::wrong_type);
    register_quietly();
    number_ = g_aaa_client_cb.sync_fd;
    ASSERT_EQ(-1, deregister());
    ASSERT_EQ(number_, g_aaa_client_cb.sync_fd);
    ASSERT_EQ(-1, fcntl(number_, F_GETFD)) << "closed";
    ASSERT_EQ(number_, dup2(others_.own(), number_));
    // A library that reads from it comes back.
    const timeval moment = {.tv_sec = 0, .tv_usec = 100000};
    ASSERT_EQ(0, setsockopt(number_, SOL_SOCKET, SO_RCVTIMEO, &moment, sizeof moment));
  }
  void TearDown() override {
    ::close(number_);
    FailedDeregistration::TearDown();
  }

  ScriptedPeer others_;
  std::int32_t number_ = -1;
};

TEST_F(ClosedNumber, IsNotWrittenTo) {
  const std::uint32_t before = g_aaa_msg_stat.send_error_times;
  EXPECT_EQ(EBADF, aaa_send_ipc_msg(number_, 132, nullptr, 0));
  EXPECT_EQ(before + 1, g_aaa_msg_stat.send_error_times) << "it counts as an error";
  EXPECT_EQ(static_cast<std::uint32_t>(EBADF), g_aaa_msg_stat.last_error_errno);
  const std::uint32_t control[3] = {1, 2, 3};
  EXPECT_EQ(-EBADF, aaa_notify_ctrl_if_switch(control));
  EXPECT_EQ(-1, deregister());
  EXPECT_EQ(0u, others_.waiting_for_peer());
}

TEST_F(ClosedNumber, IsNotReadFrom) {
  others_.peer_writes("the host's own bytes");
  EXPECT_EQ(0u, aaa_get_session_id());
  EXPECT_EQ(nullptr, aaalib_recv_ipc_msg());
  EXPECT_EQ(20u, others_.waiting_for_library());
}

TEST_F(ClosedNumber, IsNotClosedAgainAndThenForgotten) {
  EXPECT_EQ(-1, aaa_lib_client_close()) << "as for a descriptor that is not open";
  expect_unconnected();
  EXPECT_NE(-1, fcntl(number_, F_GETFD)) << "the host's file";
  EXPECT_EQ(3, ::send(number_, "own", 3, MSG_NOSIGNAL)) << "nor shut down";
  aaa::store(g_aaa_client_cb.sync_fd, number_);
  EXPECT_EQ(0, aaa_send_ipc_msg(number_, 132, nullptr, 0)) << "the host put it on record";
  aaa::store(g_aaa_client_cb.sync_fd, -1);
}

TEST_F(ClosedNumber, StaysOneWhenTheEventSocketIsClosed) {
  aaalib_ipc_msg_proc_dereg_response();
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  EXPECT_EQ(EBADF, aaa_send_ipc_msg(number_, 132, nullptr, 0));
  EXPECT_EQ(0u, others_.waiting_for_peer());
  EXPECT_EQ(-1, aaa_lib_client_close());
  EXPECT_NE(-1, fcntl(number_, F_GETFD)) << "the host's file";
}

TEST_F(ClosedNumber, CountsAsClosedUntilTheFieldHasHeldAnotherValue) {
  aaa::store(g_aaa_client_cb.sync_fd, others_.own());
  EXPECT_EQ(0, aaa_send_ipc_msg(others_.own(), 132, nullptr, 0));
  aaa::store(g_aaa_client_cb.sync_fd, number_);
  EXPECT_EQ(0, aaa_send_ipc_msg(number_, 132, nullptr, 0));
  EXPECT_EQ(32u, others_.waiting_for_peer());
  aaa::store(g_aaa_client_cb.sync_fd, -1);
}

TEST_F(ClosedNumber, IsReplacedWhenTheClientConnectsAgain) {
  EXPECT_EQ(0, aaa_lib_client_connect_all());
  EXPECT_NE(number_, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(0, aaa_send_ipc_msg(g_aaa_client_cb.sync_fd, AAA_MSG_REGISTER_REQ, "1test", 6));
  EXPECT_EQ(0u, others_.waiting_for_peer());
}

TEST_F(FailedDeregistration, ANewSocketWithTheClosedNumberIsAnOpenOne) {
  sim_.set_fault(Role::request, kDeregister, Fault::wrong_type);
  register_quietly();
  const std::int32_t number = g_aaa_client_cb.sync_fd;
  ASSERT_EQ(-1, deregister());
  const int other = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const ScriptedCalls calls({.socket = [&](int, int) {
    if (other == number) return number;
    dup2(other, number);
    ::close(other);
    return number;
  }});
  EXPECT_EQ(0, aaa_lib_client_connect_all());
  EXPECT_EQ(number, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(0, aaa_send_ipc_msg(number, AAA_MSG_REGISTER_REQ, "1test", 6));
}

TEST_F(ClosedNumber, IsNoObstacleToTheSocketLoops) {
  EXPECT_EQ(0, aaa_msg_send(number_, "own", 3, 0));
  ASSERT_EQ(3u, others_.waiting_for_peer());
  EXPECT_EQ("own", others_.peer_reads(3));
}

}  // namespace test::failed_deregistration
