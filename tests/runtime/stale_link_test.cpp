// What an old link has left never reaches a later one: messages, answers, callbacks.
#include <atomic>

#include "runtime/receive/heartbeat.h"
#include "runtime/receive/inbound.h"
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
  std::size_t size;
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

// What the library does with a message, as of a link that has ended.
class StaleMessage : public RegisteredTest {
 protected:
  StaleMessage() { aaa::end_link(); }

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

}  // namespace test::stale_link
