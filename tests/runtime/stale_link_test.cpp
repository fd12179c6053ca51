// What an old link has left never reaches a later one: messages, answers, callbacks.
#include <atomic>
#include <thread>
#include <utility>

#include "bytes.h"
#include "records.h"
#include "runtime/receive/heartbeat.h"
#include "runtime/receive/inbound.h"
#include "runtime/receive/recovery.h"
#include "session/state/link.h"
#include "support/registered_test.h"
#include "support/socket_pair.h"

namespace test {
namespace {

using aaa::Inbound;

// A client in whose callback the test is, until it lets go.
class StaleLink : public RegisteredTest {
 protected:
  void SetUp() override {
    RegisteredTest::SetUp();
    inside = let_go = false;
    running = most_at_once = 0;
  }
  void TearDown() override {
    let_go = true;
    RegisteredTest::TearDown();
  }

  static reg_info client_that_lingers() {
    reg_info info = client();
    info.get_online_info_cb = [](void*, const void*) { linger(); };
    info.gs_valid_req_cb = [](const void*, std::uint32_t, std::uint32_t) { return linger(), 7; };
    info.notify_del_msg_cb = [](const void*) { linger(); };
    return info;
  }
  static bool is_inside() {
    return eventually([] { return inside.load(); });
  }
  // Ends the registration, whose receive thread is in a callback, and makes another one.
  void register_anew(const reg_info& info = client()) {
    EXPECT_EQ(0, aaa_svr_dereg());
    register_client(info);
  }
  std::size_t answers(std::uint32_t type) { return sim_.count(received(type, Role::event)); }
  // Once a later message has been handled by the new thread.
  void expect_handled(std::uint32_t times) {
    send(AAA_MSG_MLIST_CHANGE);
    EXPECT_TRUE(wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED, times));
  }

  static std::atomic<bool> inside;
  static std::atomic<bool> let_go;
  static std::atomic<int> running;
  static std::atomic<int> most_at_once;

 private:
  static void linger() {
    most_at_once = std::max<int>(++running, most_at_once);
    inside = true;
    EXPECT_TRUE(eventually([] { return let_go.load(); }, std::chrono::seconds(20)));
    --running;
  }
};

std::atomic<bool> StaleLink::inside;
std::atomic<bool> StaleLink::let_go;
std::atomic<int> StaleLink::running;
std::atomic<int> StaleLink::most_at_once;

TEST_F(StaleLink, TheAnswerTo113OfAnOldThreadIsNotSent) {
  register_client(client_that_lingers());
  send(AAA_MSG_GET_ONLINE_INFO);
  ASSERT_TRUE(is_inside());
  register_anew();
  let_go = true;
  expect_handled(1);
  EXPECT_EQ(0u, answers(AAA_MSG_RDS_ONLINE_INFO_RESP));
}

TEST_F(StaleLink, TheAnswerTo112OfAnOldThreadIsNotSent) {
  register_client(client_that_lingers());
  send(AAA_MSG_GS_VALID_REQ, Bytes(396));
  ASSERT_TRUE(is_inside());
  register_anew();
  let_go = true;
  expect_handled(1);
  EXPECT_EQ(0u, answers(AAA_MSG_GS_VALID_RESP));
}

TEST_F(StaleLink, ACallbackThatRegistersAnewDoesNotAnswerOnTheNewConnection) {
  static reg_info again;
  again = client();
  reg_info info = client();
  info.get_online_info_cb = [](void*, const void*) {
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_EQ(0, aaa_svr_reg(&again));
  };
  register_client(info);
  send(AAA_MSG_GET_ONLINE_INFO);
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REGISTERED, 2));
  expect_handled(1);
  EXPECT_EQ(0u, answers(AAA_MSG_RDS_ONLINE_INFO_RESP));
}

TEST_F(StaleLink, ANewThreadCallsBackOnlyWhenTheOldOnesCallbackHasReturned) {
  register_client(client_that_lingers());
  send(AAA_MSG_NOTIFY_DEL_MSG, Bytes(560));
  ASSERT_TRUE(is_inside());
  register_anew(client_that_lingers());
  inside = false;
  send(AAA_MSG_NOTIFY_DEL_MSG, Bytes(560));
  EXPECT_FALSE(eventually([] { return inside.load(); }, std::chrono::milliseconds(300)));
  let_go = true;
  EXPECT_TRUE(is_inside());
  EXPECT_EQ(1, most_at_once);
}

TEST_F(StaleLink, ANewThreadTellsAnEventOnlyWhenTheOldOnesCallbackHasReturned) {
  register_client(client_that_lingers());
  send(AAA_MSG_NOTIFY_DEL_MSG, Bytes(560));
  ASSERT_TRUE(is_inside());
  EXPECT_EQ(0, aaa_svr_dereg());
  set_listening(false);
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  set_listening(true);
  EXPECT_TRUE(eventually([] { return state() == AAA_REG_REGISTERED; }));
  EXPECT_FALSE(eventually([] { return times_told(AAA_EVENT_REREGISTERED) != 0; },
                          std::chrono::milliseconds(300)));
  let_go = true;
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

// What the library does with a message, as of a link.
class StaleMessage : public RegisteredTest {
 protected:
  void SetUp() override {
    RegisteredTest::SetUp();
    old_ = aaa::link_number();
    aaa::end_link();
  }
  void deliver(std::uint32_t type, const Bytes& body = {}) {
    const aaa_ipc_header header = {0x01010101, 0, type, static_cast<std::uint32_t>(body.size())};
    const Inbound message = {&header, body.empty() ? nullptr : body.data(), old_};
    aaa::dispatch(message);
    switch (type) {
      case AAA_MSG_AAA_INFO_READY:
        return aaa::handle_aaa_info_notify(message);
      case AAA_MSG_AAA_DEBUG_INFO:
        return aaa::handle_aaa_debug_info(message);
      case AAA_MSG_HEARTBEAT:
        return aaa::handle_heartbeat(message);
      case AAA_MSG_MLIST_CHANGE:
        return aaa::handle_mlist_change(message);
      case AAA_MSG_NOTIFY_RESULT:
        return aaa::handle_notify_result(message);
      default:
        return;
    }
  }

  aaa::LinkNumber old_ = 0;
};

TEST_F(StaleMessage, Of102LeavesTheStatusWordsAlone) {
  aaa::store(g_aaa_status.acct_period, 5U);
  deliver(102, words({9, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
  EXPECT_EQ(5u, g_aaa_status.acct_period);
  EXPECT_TRUE(client_events().empty());
}

TEST_F(StaleMessage, Of106LeavesTheDebugSwitchAlone) {
  deliver(106, words({1, 77}));
  EXPECT_EQ(0u, g_aaa_status.debug);
  EXPECT_EQ(0u, g_aaa_status.debug_msg_limit);
}

TEST_F(StaleMessage, Of132LeavesTheClockOfHeartbeatsAlone) {
  aaa::store(aaalib_hbt_last_recv, 5U);
  deliver(132);
  EXPECT_EQ(5u, aaalib_hbt_last_recv);
}

TEST_F(StaleMessage, RaisesNoEvent) {
  aaa::store_callbacks(client());
  deliver(122);
  EXPECT_TRUE(client_events().empty());
}

TEST_F(StaleMessage, Of103GoesToNobody) {
  const std::uint32_t before = g_aaalib_stat.results_to_waiter;
  deliver(103, Bytes(1280));
  EXPECT_EQ(before, g_aaalib_stat.results_to_waiter);
}

TEST_F(StaleMessage, IsNotTakenForOneByAClientsOwnCall) {
  aaa::store(aaalib_hbt_last_recv, 5U);
  const aaa_ipc_header header = {0x01010101, 0, 132, 0};
  aaalib_ipc_msg_proc_heartbeat(&header, nullptr);
  EXPECT_NE(5u, aaalib_hbt_last_recv);
  aaa::store(aaalib_hbt_last_recv, 5U);
  aaa_lib_async_msg_proc(&header, nullptr);
  EXPECT_NE(5u, aaalib_hbt_last_recv);
}

TEST_F(StaleMessage, IsNotDispatched) {
  const OpenGate gate;
  const LogCapture log;
  deliver(AAA_MSG_NOTIFY_DEL_MSG, Bytes(560));
  EXPECT_TRUE(log.lines().empty());
}

int called = 0;

reg_info client_that_counts() {
  reg_info info = {};
  info.authen_group_req_cb = [](authen_info*, char*) { ++called; };
  info.author_group_req_cb = [](author_info*, char*) { ++called; };
  info.acct_group_req_cb = [](acct_info*, char*) { ++called; };
  info.gs_valid_req_cb = [](const void*, std::uint32_t, std::uint32_t) { return ++called; };
  info.get_online_info_cb = [](void*, const void*) { ++called; };
  info.enable_authen_cb = [](authen_info*) { ++called; };
  info.localeap_authen_cb = [](authen_info*) { ++called; };
  info.notify_del_msg_cb = [](const void*) { ++called; };
  info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t) { ++called; };
  info.add_radext_result_cb = [](const void*) { ++called; };
  info.notify_coa_req_cb = [](const void*) { ++called; };
  return info;
}

// Hands a message to each handler that calls back. Returns how many callbacks that came to.
int calls_of_handlers(aaa::LinkNumber link) {
  const Bytes no_name(1, 0);
  const Bytes long_enough(720, 0);
  const std::pair<void (*)(const Inbound&), Bytes> messages[] = {
      {aaa::handle_authen_group_req, no_name + authen_body(1)},
      {aaa::handle_author_group_req, no_name + author_body(1)},
      {aaa::handle_acct_group_req, no_name + acct_body(1)},
      {aaa::handle_gs_valid_req, long_enough},
      {aaa::handle_get_online_info, long_enough},
      {aaa::handle_enable_authen, authen_body(1)},
      {aaa::handle_localeap_authen, authen_body(1)},
      {aaa::handle_notify_del_msg, long_enough},
      {aaa::handle_del_msg_req, long_enough},
      {aaa::handle_add_radext_result, long_enough},
      {aaa::handle_notify_coa_req, long_enough}};
  called = 0;
  for (const auto& [handler, body] : messages) {
    const aaa_ipc_header header = {0x01010101, 0, 0, static_cast<std::uint32_t>(body.size())};
    handler({&header, body.data(), link});
  }
  return called;
}

// The handlers whose work shows otherwise than in a callback's own notes.
TEST_F(StaleMessage, IsNoneThatAClientHandsToAHandlerItself) {
  aaa::store_callbacks(client());
  const Bytes body = words({1, 9, 9, 9, 9, 9, 9, 9, 9, 9});
  const aaa_ipc_header header = {0x01010101, 0, 0, 40};
  aaalib_ipc_msg_proc_aaa_info_notify(&header, body.data());
  EXPECT_EQ(9u, g_aaa_status.acct_period);
  aaalib_ipc_msg_proc_mlist_change(&header, body.data());
  EXPECT_EQ(1u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  aaa::store(g_aaa_status.debug, 0U);
  aaalib_ipc_msg_proc_aaa_debug_info(&header, body.data());
  EXPECT_EQ(1u, g_aaa_status.debug);
  aaa::store_callbacks(client_that_counts());
  called = 0;
  aaalib_ipc_msg_proc_get_online_info(&header, body.data());
  aaa_add_user_pwd_update_req_handle(
      [](std::uint32_t, const char*, const char*, const char*) { ++called; });
  aaalib_ipc_msg_proc_backend_update_user_pwd(&header, body.data());
  aaa_add_user_pwd_update_req_handle(nullptr);
  EXPECT_EQ(2, called);
}

TEST_F(StaleMessage, ReachesNoCallbackOfALaterRegistration) {
  aaa::store_callbacks(client_that_counts());
  EXPECT_EQ(0, calls_of_handlers(old_));
  EXPECT_EQ(11, calls_of_handlers(aaa::link_number()));
}

// A message belongs to the link on which its first byte was asked for.
class ReadMessage : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_TRUE(aaad_.open());
    aaad_.peer_writes(message_bytes(132, ""));
  }
  void TearDown() override {
    aaad_.close();
    LibraryTest::TearDown();
  }
  aaa::LinkNumber link_of_read_message(aaa::LinkMessage& message) const {
    const aaa::LinkNumber link = aaa::link_number();
    EXPECT_EQ(aaa::ReadStep::done, message.read(aaad_.own(), aaa::thread_rules.reader).step);
    return link;
  }

  SocketPair aaad_;
};

TEST_F(ReadMessage, IsStaleWhenItsLinkEndsBeforeTheDispatch) {
  aaa::LinkMessage message;
  const aaa::LinkNumber link = link_of_read_message(message);
  aaa::end_link();
  EXPECT_EQ(link, message.inbound().link);
}

TEST_F(ReadMessage, IsStaleWhenItsLinkEndsDuringTheRead) {
  const ScriptedCalls calls({.recv = [](int, void*, std::size_t, int) {
    aaa::end_link();
    return std::nullopt;
  }});
  aaa::LinkMessage message;
  const aaa::LinkNumber link = link_of_read_message(message);
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

TEST_F(StaleMessage, AHeartbeatOfAnOldLinkIsNotSent) {
  register_client();
  take_pass();
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_HEARTBEAT))) << "the thread's first one";
  const std::uint32_t before = g_aaa_msg_stat.send_error_times;
  aaa::send_heartbeat(old_, aaa::load(aaalib_hbt_last_send));
  EXPECT_NE(0u, aaa_get_session_id()) << "a later message on the same socket";
  EXPECT_EQ(1u, heartbeats());
  EXPECT_EQ(before, g_aaa_msg_stat.send_error_times);
}

}  // namespace
}  // namespace test
