// What an old link has left never reaches a later one: messages, answers, callbacks.
#include <atomic>

#include "runtime/dispatch_test.h"
#include "runtime/receive/inbound.h"
#include "runtime/receive/recovery.h"
#include "runtime/receive_test.h"
#include "session/state/link.h"
#include "support/locked_state.h"

namespace test::stale_link {

// A client in whose callback the test is, until it lets go.
class StaleLink : public ReceiveTest {
 protected:
  StaleLink() {
    notes.group_answer = 7;
    notes.then = [this](const std::string&) {
      most_at_once_ = std::max<int>(++running_, most_at_once_);
      inside_ = true;
      EXPECT_TRUE(eventually([this] { return let_go_.load(); }, std::chrono::seconds(20)));
      --running_;
    };
  }
  void TearDown() override {
    let_go_ = true;
    ReceiveTest::TearDown();
  }

  // A message in whose callback the receive thread then is.
  void enter_callback(std::uint32_t type, const std::string& body = "") {
    register_client(noting_client());
    send(type, body);
    ASSERT_TRUE(is_inside());
  }
  bool is_inside() {
    return eventually([this] { return inside_.load(); });
  }
  // Expects no answer of this type when the new thread has handled a message.
  void expect_no_answer(std::uint32_t type) {
    send(AAA_MSG_MLIST_CHANGE);
    EXPECT_TRUE(wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED, 1));
    EXPECT_EQ(0u, sim_.count(received(type, Role::event)));
  }

  std::atomic<bool> inside_ = false;
  std::atomic<bool> let_go_ = false;
  std::atomic<int> running_ = 0;
  std::atomic<int> most_at_once_ = 0;
};

struct Question {
  std::uint32_t type;
  std::uint32_t size;
  std::uint32_t answer;
};

class StaleAnswer : public StaleLink, public testing::WithParamInterface<Question> {};

TEST_P(StaleAnswer, OfAnOldThreadIsNotSent) {
  enter_callback(GetParam().type, zeros(GetParam().size));
  EXPECT_EQ(0, aaa_svr_dereg());
  register_client();
  let_go_ = true;
  expect_no_answer(GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    StaleLink, StaleAnswer,
    testing::Values(Question{AAA_MSG_GET_ONLINE_INFO, 0, AAA_MSG_RDS_ONLINE_INFO_RESP},
                    Question{AAA_MSG_GS_VALID_REQ, 396, AAA_MSG_GS_VALID_RESP}),
    [](const auto& tested) { return "To" + std::to_string(tested.param.type); });

TEST_F(StaleLink, ACallbackThatRegistersAnewDoesNotAnswerOnTheNewConnection) {
  notes.then = [](const std::string&) {
    const reg_info again = client();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_EQ(0, aaa_svr_reg(&again));
  };
  register_client(noting_client());
  send(AAA_MSG_GET_ONLINE_INFO);
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REGISTERED, 2));
  expect_no_answer(AAA_MSG_RDS_ONLINE_INFO_RESP);
}

TEST_F(StaleLink, ANewThreadCallsBackOnlyWhenTheOldOnesCallbackHasReturned) {
  enter_callback(AAA_MSG_NOTIFY_DEL_MSG, zeros(560));
  EXPECT_EQ(0, aaa_svr_dereg());
  register_client(noting_client());
  inside_ = false;
  send(AAA_MSG_NOTIFY_DEL_MSG, zeros(560));
  EXPECT_FALSE(eventually([this] { return inside_.load(); }, std::chrono::milliseconds(300)));
  let_go_ = true;
  EXPECT_TRUE(is_inside());
  EXPECT_EQ(1, most_at_once_);
}

TEST_F(StaleLink, ANewThreadTellsAnEventOnlyWhenTheOldOnesCallbackHasReturned) {
  enter_callback(AAA_MSG_NOTIFY_DEL_MSG, zeros(560));
  EXPECT_EQ(0, aaa_svr_dereg());
  set_listening(false);
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  set_listening(true);
  EXPECT_TRUE(eventually([] { return state() == AAA_REG_REGISTERED; }));
  EXPECT_FALSE(eventually([] { return times_told(AAA_EVENT_REREGISTERED) != 0; },
                          std::chrono::milliseconds(300)));
  let_go_ = true;
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

// What the library does with a message, as of a link that has ended.
class StaleMessage : public RegisteredTest {
 protected:
  StaleMessage() {
    notes.reset();
    aaa::end_link();
  }

  using Handler = void (*)(const aaa::Inbound&);
  void deliver(std::uint32_t type, Handler handle, const std::string& body = "") {
    const aaa_ipc_header header = {0x01010101, 0, type, static_cast<std::uint32_t>(body.size())};
    const aaa::Inbound message = {&header, body.empty() ? nullptr : body.data(), old_};
    aaa::dispatch(message);
    handle(message);
  }

  const aaa::LinkNumber old_ = aaa::link_number();
};

TEST_F(StaleMessage, ChangesNothingAndRaisesNoEvent) {
  aaa::store(g_aaa_status.acct_period, 5U);
  aaa::store(aaalib_hbt_last_recv, 5U);
  test::store_callbacks(client());
  const std::uint32_t results = g_aaalib_stat.results_to_waiter;
  deliver(102, aaa::handle_aaa_info_notify, word_bytes({9, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
  EXPECT_EQ(5u, g_aaa_status.acct_period);
  deliver(106, aaa::handle_aaa_debug_info, word_bytes({1, 77}));
  EXPECT_EQ(0u, g_aaa_status.debug);
  EXPECT_EQ(0u, g_aaa_status.debug_msg_limit);
  deliver(132, aaa::handle_heartbeat);
  EXPECT_EQ(5u, aaalib_hbt_last_recv);
  deliver(122, aaa::handle_mlist_change);
  EXPECT_TRUE(client_events().empty());
  deliver(103, aaa::handle_notify_result, zeros(1280));
  deliver(103, aaa::handle_notify_result, zeros(1280));
  EXPECT_EQ(results, g_aaalib_stat.results_to_waiter);
}

TEST_F(StaleMessage, IsNotTakenForOneByAClientsOwnCall) {
  const aaa_ipc_header header = {0x01010101, 0, 132, 0};
  for (const auto handle : {aaalib_ipc_msg_proc_heartbeat, aaa_lib_async_msg_proc}) {
    aaa::store(aaalib_hbt_last_recv, 5U);
    handle(&header, nullptr);
    EXPECT_NE(5u, aaalib_hbt_last_recv);
  }
}

TEST_F(StaleMessage, IsNotDispatched) {
  const OpenLog log;
  deliver(AAA_MSG_NOTIFY_DEL_MSG, aaa::handle_notify_del_msg, zeros(560));
  EXPECT_TRUE(log.lines().empty());
}

// Nor does a line say that it is.
TEST_F(StaleMessage, IsNotAnswered) {
  const ScriptedPeer aaad;
  aaa::store(g_aaa_client_cb.async_fd, aaad.own());
  const OpenLog log;
  deliver(AAA_MSG_GS_VALID_REQ, aaa::handle_gs_valid_req, zeros(396));
  deliver(AAA_MSG_GET_ONLINE_INFO, aaa::handle_get_online_info);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ("", aaad.peer_reads());
  aaa::store(g_aaa_client_cb.async_fd, -1);
}

// Hands a message to each handler that calls back. Returns how many callbacks that came to.
std::size_t calls_of_handlers(aaa::LinkNumber link) {
  const std::string long_enough = zeros(720);
  const std::pair<void (*)(const aaa::Inbound&), std::string> messages[] = {
      {aaa::handle_authen_group_req, named("", authen_body(1))},
      {aaa::handle_author_group_req, named("", author_body(1))},
      {aaa::handle_acct_group_req, named("", acct_body(1))},
      {aaa::handle_gs_valid_req, long_enough},
      {aaa::handle_get_online_info, long_enough},
      {aaa::handle_enable_authen, authen_body(1)},
      {aaa::handle_localeap_authen, authen_body(1)},
      {aaa::handle_notify_del_msg, long_enough},
      {aaa::handle_del_msg_req, long_enough},
      {aaa::handle_add_radext_result, long_enough},
      {aaa::handle_notify_coa_req, long_enough}};
  const std::size_t before = noted().size();
  for (const auto& [handle, body] : messages) {
    const aaa_ipc_header header = {0x01010101, 0, 0, static_cast<std::uint32_t>(body.size())};
    handle({&header, body.data(), link});
  }
  return noted().size() - before;
}

TEST_F(StaleMessage, ReachesNoCallbackOfALaterRegistration) {
  test::store_callbacks(noting_client());
  EXPECT_EQ(0u, calls_of_handlers(old_));
  EXPECT_EQ(11u, calls_of_handlers(aaa::link_number()));
}

// The handlers whose work shows otherwise than in a callback's own notes.
TEST_F(StaleMessage, IsNoneThatAClientHandsToAHandlerItself) {
  test::store_callbacks(noting_client());
  const std::string body = word_bytes({1, 9, 9, 9, 9, 9, 9, 9, 9, 9});
  const aaa_ipc_header header = {0x01010101, 0, 0, 40};
  aaalib_ipc_msg_proc_aaa_info_notify(&header, body.data());
  EXPECT_EQ(9u, g_aaa_status.acct_period);
  aaalib_ipc_msg_proc_mlist_change(&header, body.data());
  EXPECT_EQ(1u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  aaa::store(g_aaa_status.debug, 0U);
  aaalib_ipc_msg_proc_aaa_debug_info(&header, body.data());
  EXPECT_EQ(1u, g_aaa_status.debug);
  aaalib_ipc_msg_proc_get_online_info(&header, body.data());
  EXPECT_EQ(1u, noted().size());
  aaa_add_user_pwd_update_req_handle(
      [](std::uint32_t, const char*, const char*, const char*) { notes.add("update"); });
  aaalib_ipc_msg_proc_backend_update_user_pwd(&header, body.data());
  aaa_add_user_pwd_update_req_handle(nullptr);
  EXPECT_EQ(2u, noted().size());
}

TEST_F(StaleMessage, AHeartbeatOfAnOldLinkIsNotSent) {
  register_client();
  take_pass();
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_HEARTBEAT))) << "the thread's first one";
  const std::uint32_t before = g_aaa_msg_stat.send_error_times;
  const std::uint32_t last_send = aaa::load(aaalib_hbt_last_send);
  aaa::send_heartbeat(old_, last_send + 1);
  EXPECT_EQ(last_send, aaa::load(aaalib_hbt_last_send)) << "noted for the new link";
  EXPECT_NE(0u, aaa_get_session_id()) << "a later message on the same socket";
  EXPECT_EQ(1u, heartbeats());
  EXPECT_EQ(before, g_aaa_msg_stat.send_error_times);
}

TEST_F(StaleMessage, AFailedReadOfAnOldLinkDoesNotEndTheNextOneWhoseSocketHasItsNumber) {
  const ScriptedPeer aaad;
  aaa::store(g_aaa_client_cb.async_fd, aaad.own());
  aaa::store(aaa::g_receive_msg_tid, pthread_self());
  const aaa::Watched watched = {.link = old_, .fd = aaad.own()};
  EXPECT_EQ(aaa::Damage::none,
            aaa::give_up_lost_link(aaa::LinkOwner::receive_thread(), watched, ECONNRESET));
  EXPECT_EQ(aaad.own(), event_socket());
  aaa::store(g_aaa_client_cb.async_fd, -1);
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
}

// A message belongs to the link on which its first byte was asked for.
class ReadMessage : public LibraryTest {
 protected:
  ReadMessage() { aaad_.peer_writes(message_bytes(132)); }

  aaa::LinkNumber link_of_read_message(aaa::LinkMessage& message) const {
    const aaa::ScopedLock lock(aaa::event_read_lock);
    const aaa::LinkNumber link = aaa::link_number();
    EXPECT_EQ(aaa::ReadStep::done, message.read(aaad_.own(), aaa::thread_rules.reader).step);
    return link;
  }

  ScriptedPeer aaad_;
};

TEST_F(ReadMessage, IsStaleWhenItsLinkEndsBeforeTheDispatch) {
  aaa::LinkMessage message;
  const aaa::LinkNumber link = link_of_read_message(message);
  aaa::end_link();
  EXPECT_EQ(link, message.inbound().link);
}

TEST_F(ReadMessage, IsStaleWhenItsLinkEndsDuringTheRead) {
  const ScriptedCalls calls({.recv = noting(aaa::end_link)});
  aaa::LinkMessage message;
  const aaa::LinkNumber link = link_of_read_message(message);
  EXPECT_NE(link, aaa::link_number());
  EXPECT_EQ(link, message.inbound().link);
}

TEST_F(ReadMessage, ThatMakesAChangeIsWaitedForByTheEndOfItsLink) {
  std::atomic<bool> ended = false;
  std::thread ending;
  aaa::while_link_lasts(aaa::link_number(), [&] {
    ending = std::thread([&] {
      aaa::end_link();
      ended = true;
    });
    EXPECT_FALSE(eventually([&] { return ended.load(); }, std::chrono::milliseconds(300)));
  });
  ending.join();
  EXPECT_TRUE(ended);
}

}  // namespace test::stale_link
