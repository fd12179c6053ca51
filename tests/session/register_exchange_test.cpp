// Connecting and registering both sockets.
#include "session/link/connect.h"
#include "session/session_test.h"
#include "support/locked_state.h"

namespace test::register_exchange {

using aaa::aaalib_connect_and_register_to_aaad;

class RegisterExchange : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    test::set_model_name("test");
  }
  // The register request that arrived on a connection.
  std::string request(Role role) {
    const auto message = sim_.wait_for_message(received(0, role));
    EXPECT_TRUE(message);
    return message ? bytes_of(*message) : "";
  }
};

TEST_F(RegisterExchange, TheRequestHasTheRoleAndTheModelName) {
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  const std::pair<Role, std::string> bodies[] = {{Role::request, std::string("1test\0", 6)},
                                                 {Role::event, std::string("2test\0", 6)}};
  for (const auto& [role, body] : bodies)
    EXPECT_EQ(message_bytes(0, body), request(role));
}

TEST_F(RegisterExchange, ALongModelNameIsSentAsItIsStored) {
  test::set_model_name(std::string(70, 'm').c_str());
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(message_bytes(0, "1" + std::string(63, 'm') + zeros(1)), request(Role::request));
}

TEST_F(RegisterExchange, TheRequestSocketIsRegisteredFirst) {
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  std::vector<std::uint32_t> types;
  for (const auto& message : sim_.messages())
    types.push_back(message.header.type);
  EXPECT_THAT(types, ElementsAre(0, 100, 0, 102));
}

TEST_F(RegisterExchange, Word0OfTheResponseIsTheIdAlsoAbove255) {
  for (const int id : {254, 256}) {
    answer_id(static_cast<std::uint32_t>(id));
    EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
    EXPECT_EQ(id, g_aaa_client_cb.aaa_id);
    aaa_lib_client_close();
    test::set_reg_state(AAA_REG_NOT_REGISTERED);
  }
}

TEST_F(RegisterExchange, TheStatusRecordIsOverwritten) {
  change([](Settings& settings) { settings.status = distinct_status(); });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(word_bytes({11, 12, 13, 0, 15, 16, 17, 18, 19, 20}), bytes_of(&g_aaa_status, 40));
}

TEST_F(RegisterExchange, OnlyTheFirst40BytesOfTheStatusAreTaken) {
  sim_.set_answer(0, [](const Request& request) -> Replies {
    if (request.role == Role::request) return {{Role::request, 100, 0, {5, 0, 0, 0, 9, 9}}};
    aaa_sim::Bytes body = aaa_sim::encode_status(distinct_status());
    body.insert(body.end(), 8, 0xFF);
    return {{Role::event, 102, 0, body}};
  });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(5, g_aaa_client_cb.aaa_id);
  EXPECT_EQ(20u, g_aaa_status.aaa_id_limit);
}

TEST_F(RegisterExchange, WritesItsLinesInOrder) {
  open_gate();
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(
      log_.messages(),
      ElementsAre("connect to aaad successfully.\r\n",
                  ": send message(register request) len(6) to " + sync_fd() + "\n\r\r\n",
                  ": aaa lib receive message from aaad type (register response), len(4)\r\n",
                  ": send message(register request) len(6) to " + async_fd() + "\n\r\r\n",
                  ": aaa lib receive message from aaad type (aaa info ready), len(40)\r\n",
                  "register to aaad successfully.\r\n"));
  EXPECT_THAT(log_.functions(),
              ElementsAre("aaalib_connect_and_register_to", "aaalib_send_ipc_msg_print",
                          "aaa_lib_client_reg", testing::_, "aaa_lib_client_reg",
                          "aaalib_connect_and_register_to"));
}

TEST_F(RegisterExchange, AClosedGateKeepsItsLinesBack) {
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(RegisterExchange, TheStateIs2WhileConnecting3WhileRegisteringUnderTheLockAnd4Then) {
  std::vector<std::int32_t> states;
  std::vector<bool> free;
  const auto note_state = [&] { states.push_back(g_aaa_client_cb.reg_state); };
  const auto send = [&](int fd, auto&&...) {
    if (fd == g_aaa_client_cb.sync_fd || fd == g_aaa_client_cb.async_fd) {
      note_state();
      free.push_back(is_free(aaa_lib_lock));
    }
    return std::nullopt;
  };
  const ScriptedCalls calls({.send = send, .connect = noting(note_state)});
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(states, ElementsAre(2, 2, 3, 3));
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
  EXPECT_THAT(free, ElementsAre(false, false));
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(RegisterExchange, WithoutAaadTheStateStays2) {
  sim_.stop();
  const OpenLog log;
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(2, g_aaa_client_cb.reg_state);
  EXPECT_EQ("connect to aaad failed\r\n", log.messages().back());
  EXPECT_EQ("aaalib_connect_and_register_to", log.functions().back());
}

TEST_F(RegisterExchange, EqualSocketsAreNotRegistered) {
  const ScriptedPeer pair;
  aaa::store(g_aaa_client_cb.sync_fd, pair.own());
  aaa::store(g_aaa_client_cb.async_fd, pair.own());
  const OpenLog log;
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(log.messages(),
              ElementsAre("connect to aaad successfully.\r\n",
                          "socket equal " + std::to_string(pair.own()) + ", not register\r\n",
                          "register to aaad failed\r\n"));
  EXPECT_EQ("aaalib_register_to_aaad", log.functions()[1]);
  EXPECT_EQ(3, g_aaa_client_cb.reg_state);
  EXPECT_EQ(0u, pair.waiting_for_peer());
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  aaa::store(g_aaa_client_cb.async_fd, -1);
}

}  // namespace test::register_exchange
