// Connecting and registering both sockets.
#include "session/link/connect.h"

#include "session/session_test.h"

namespace {

using aaa::aaalib_connect_and_register_to_aaad;
using test::bytes_of;
using test::Fault;
using test::received;
using test::Role;
using test::word_at;
using testing::ElementsAre;

class RegisterExchange : public test::SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    aaa::set_model_name("test");
  }
};

TEST_F(RegisterExchange, TheRequestOnTheRequestSocketHasRole1AndTheModelName) {
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  const auto message = sim_.wait_for_message(received(0, Role::request));
  ASSERT_TRUE(message);
  const std::string bytes = bytes_of(*message);
  ASSERT_EQ(22u, bytes.size());
  EXPECT_EQ(0x01010101u, word_at(bytes, 0));
  EXPECT_EQ(0u, word_at(bytes, 4));
  EXPECT_EQ(0u, word_at(bytes, 8));
  EXPECT_EQ(6u, word_at(bytes, 12));
  EXPECT_EQ(std::string("1test\0", 6), bytes.substr(16));
}

TEST_F(RegisterExchange, TheRequestOnTheEventSocketHasRole2AndTheModelName) {
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  const auto message = sim_.wait_for_message(received(0, Role::event));
  ASSERT_TRUE(message);
  const std::string bytes = bytes_of(*message);
  ASSERT_EQ(22u, bytes.size());
  EXPECT_EQ(0x01010101u, word_at(bytes, 0));
  EXPECT_EQ(0u, word_at(bytes, 4));
  EXPECT_EQ(0u, word_at(bytes, 8));
  EXPECT_EQ(6u, word_at(bytes, 12));
  EXPECT_EQ(std::string("2test\0", 6), bytes.substr(16));
}

TEST_F(RegisterExchange, TheRequestSocketIsRegisteredFirst) {
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  const auto messages = sim_.messages();
  ASSERT_EQ(4u, messages.size());
  EXPECT_EQ(0u, messages[0].header.type);
  EXPECT_EQ(100u, messages[1].header.type);
  EXPECT_EQ(0u, messages[2].header.type);
  EXPECT_EQ(102u, messages[3].header.type);
}

TEST_F(RegisterExchange, Word0OfTheResponseIsTheId) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 254; });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(254, g_aaa_client_cb.aaa_id);
}

TEST_F(RegisterExchange, AnIdAbove255IsNoRefusal) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 256; });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(256, g_aaa_client_cb.aaa_id);
}

TEST_F(RegisterExchange, TheStatusRecordIsOverwritten) {
  sim_.change([](aaa_sim::Settings& settings) { settings.status = test::distinct_status(); });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(11u, g_aaa_status.new_model);
  EXPECT_EQ(12u, g_aaa_status.acct_period);
  EXPECT_EQ(13u, g_aaa_status.acct_status);
  EXPECT_EQ(0u, g_aaa_status.debug);
  EXPECT_EQ(15u, g_aaa_status.debug_msg_limit);
  EXPECT_EQ(16u, g_aaa_status.pro_status);
  EXPECT_EQ(17u, g_aaa_status.local_user_public_account);
  EXPECT_EQ(18u, g_aaa_status.acct_start_fail_policy);
  EXPECT_EQ(19u, g_aaa_status.login_service_check_mode);
  EXPECT_EQ(20u, g_aaa_status.aaa_id_limit);
}

TEST_F(RegisterExchange, OnlyTheFirst40BytesOfTheStatusAreTaken) {
  sim_.set_answer(0, [](const aaa_sim::Request& request) -> aaa_sim::Replies {
    if (request.role == Role::request) return {{Role::request, 100, 0, {5, 0, 0, 0, 9, 9}}};
    aaa_sim::Bytes body = aaa_sim::encode_status(test::distinct_status());
    body.insert(body.end(), 8, 0xFF);
    return {{Role::event, 102, 0, body}};
  });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(5, g_aaa_client_cb.aaa_id);
  EXPECT_EQ(20u, g_aaa_status.aaa_id_limit);
}

TEST_F(RegisterExchange, WritesItsLinesInOrder) {
  keep_gate_open();
  const test::OpenGate gate;
  const test::LogCapture log;
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(
      log.messages(),
      ElementsAre("connect to aaad successfully.\r\n",
                  ": send message(register request) len(6) to " + sync_fd() + "\n\r\r\n",
                  ": aaa lib receive message from aaad type (register response), len(4)\r\n",
                  ": send message(register request) len(6) to " + async_fd() + "\n\r\r\n",
                  ": aaa lib receive message from aaad type (aaa info ready), len(40)\r\n",
                  "register to aaad successfully.\r\n"));
}

TEST_F(RegisterExchange, ItsLinesNameTheirFunctions) {
  keep_gate_open();
  const test::OpenGate gate;
  const test::LogCapture log;
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  const std::vector<test::LogLine> lines = log.lines();
  ASSERT_EQ(6u, lines.size());
  EXPECT_EQ("aaalib_connect_and_register_to", lines[0].function());
  EXPECT_EQ("aaalib_send_ipc_msg_print", lines[1].function());
  EXPECT_EQ("aaa_lib_client_reg", lines[2].function());
  EXPECT_EQ("aaa_lib_client_reg", lines[4].function());
  EXPECT_EQ("aaalib_connect_and_register_to", lines[5].function());
}

TEST_F(RegisterExchange, AClosedGateKeepsItsLinesBack) {
  const test::LogCapture log;
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(RegisterExchange, TheStateIs2WhileConnecting3WhileRegisteringAnd4Then) {
  std::vector<std::int32_t> states;
  const test::ScriptedCalls calls(
      {.send = [&](int fd, const void*, std::size_t, int) -> std::optional<ssize_t> {
         if (fd == g_aaa_client_cb.sync_fd || fd == g_aaa_client_cb.async_fd)
           states.push_back(g_aaa_client_cb.reg_state);
         return std::nullopt;
       },
       .connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
         states.push_back(g_aaa_client_cb.reg_state);
         return std::nullopt;
       }});
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(states, ElementsAre(2, 2, 3, 3));
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
}

TEST_F(RegisterExchange, TheLibraryLockIsHeldDuringBothExchanges) {
  std::vector<bool> free;
  const test::ScriptedCalls calls(
      {.send = [&](int fd, const void*, std::size_t, int) -> std::optional<ssize_t> {
        if (fd == g_aaa_client_cb.sync_fd || fd == g_aaa_client_cb.async_fd)
          free.push_back(test::is_free(aaa_lib_lock));
        return std::nullopt;
      }});
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(free, ElementsAre(false, false));
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(RegisterExchange, WithoutAaadTheStateStays2) {
  sim_.stop();
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(2, g_aaa_client_cb.reg_state);
  const test::LogLine line = log.find("connect to aaad failed\r\n");
  EXPECT_EQ("aaalib_connect_and_register_to", line.function());
  EXPECT_EQ("connect to aaad failed\r\n", log.messages().back());
}

TEST_F(RegisterExchange, EqualSocketsAreNotRegistered) {
  test::SocketPair pair;
  ASSERT_TRUE(pair.open());
  aaa::store(g_aaa_client_cb.sync_fd, pair.own());
  aaa::store(g_aaa_client_cb.async_fd, pair.own());
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(log.messages(),
              ElementsAre("connect to aaad successfully.\r\n",
                          "socket equal " + std::to_string(pair.own()) + ", not register\r\n",
                          "register to aaad failed\r\n"));
  EXPECT_EQ("aaalib_register_to_aaad", log.lines()[1].function());
  EXPECT_EQ(3, g_aaa_client_cb.reg_state);
  EXPECT_EQ(0u, pair.waiting_for_peer());
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  aaa::store(g_aaa_client_cb.async_fd, -1);
}

TEST_F(RegisterExchange, ALongModelNameIsSentAsItIsStored) {
  aaa::set_model_name(std::string(70, 'm').c_str());
  ASSERT_EQ(0, aaalib_connect_and_register_to_aaad());
  const auto message = sim_.wait_for_message(received(0, Role::request));
  ASSERT_TRUE(message);
  EXPECT_EQ(65u, message->header.length);
  EXPECT_EQ("1" + std::string(63, 'm') + std::string(1, '\0'), bytes_of(*message).substr(16));
}

}  // namespace
