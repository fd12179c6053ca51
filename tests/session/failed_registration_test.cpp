// Registrations that fail, and what they leave.
#include <filesystem>

#include "session/session_test.h"
#include "support/fresh_message_sockets.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FailedRegistration : public test::SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    keep_gate_open();
  }

  // Registers in vain; keeps the lines.
  void register_in_vain(const reg_info& info = test::client()) {
    const test::OpenGate gate;
    const test::LogCapture log;
    EXPECT_EQ(-1, aaa_svr_reg(&info));
    messages_ = log.messages();
    functions_.clear();
    for (const test::LogLine& line : log.lines())
      functions_.push_back(line.function());
    EXPECT_TRUE(test::is_free(aaa_lib_lock));
    EXPECT_THAT(test::client_events(), IsEmpty());
  }
  void expect_last_lines(const std::string& reason, const std::string& reason_function,
                         const std::string& summary) {
    ASSERT_GE(messages_.size(), 2u);
    EXPECT_EQ(reason, *(messages_.end() - 2));
    EXPECT_EQ(reason_function, *(functions_.end() - 2));
    EXPECT_EQ(summary, messages_.back());
    EXPECT_EQ("aaa_svr_reg", functions_.back());
  }
  // The connection record is as after a thread could not be started.
  void expect_clean_record() {
    test::expect_unconnected();
    EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
    EXPECT_EQ(1, g_aaa_client_cb.reg_state);
    EXPECT_EQ(std::vector<std::uintptr_t>(13, 0), test::ordinary_callbacks());
    EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
    EXPECT_EQ(test::ldap_numbers(), test::ldap_callbacks());
    EXPECT_FALSE(aaa::receive_thread_exists());
    EXPECT_FALSE(aaa::send_buffer_is_used());
    EXPECT_TRUE(sim_.wait_for_connections(0));
  }
  static reg_info full_client(bool use_send_buf) {
    reg_info info = test::with_all_callbacks(test::client());
    info.use_send_buf = use_send_buf ? 1 : 0;
    return info;
  }

  std::vector<std::string> messages_;
  std::vector<std::string> functions_;
};

TEST_F(FailedRegistration, WithoutTmpdirThereIsNoWorkDirectory) {
  unsetenv("TMPDIR");
  aaa::store(g_aaa_client_cb.aaa_id, 77);
  register_in_vain();
  EXPECT_THAT(messages_,
              ElementsAre("agent_init make directory failed\r\n", "TMPDIR is not set\r\n"));
  EXPECT_THAT(functions_, testing::Each("aaa_svr_reg"));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  EXPECT_EQ(77, g_aaa_client_cb.aaa_id) << "nothing has been begun";
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(FailedRegistration, WithALongTmpdirThereAreNoDatagramSockets) {
  const test::FreshMessageSockets fresh;
  const std::string longer = directory() + "/" + std::string(90 - directory().size() - 1, 'x');
  ASSERT_EQ(90u, longer.size());
  std::filesystem::create_directory(longer);
  setenv("TMPDIR", longer.c_str(), 1);
  register_in_vain();
  EXPECT_THAT(messages_, ElementsAre("aaa_lib_msg_socket_init failed\r\n",
                                     testing::StartsWith("TMPDIR is '" + longer.substr(0, 80) +
                                                         "', 90 bytes; it must")));
  EXPECT_THAT(functions_, testing::Each("aaa_svr_reg"));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  setenv("TMPDIR", directory().c_str(), 1);
  register_quietly();
}

TEST_F(FailedRegistration, AFailedDatagramSocketIsReported) {
  const test::FreshMessageSockets fresh;
  const test::ScriptedCalls calls({.socket = [](int, int) { return test::fails(EMFILE); }});
  register_in_vain();
  EXPECT_THAT(messages_, ElementsAre("create socket(message server fd) failed, err(24)\r\n",
                                     "aaa_lib_msg_socket_init failed\r\n",
                                     testing::StartsWith("TMPDIR is '")));
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(FailedRegistration, AReceiveThreadThatCannotBeCreatedUndoesIt) {
  const test::ScriptedCalls calls({.pthread_create = [] { return EAGAIN; }});
  register_in_vain(full_client(false));
  expect_last_lines("aaalib create main thread failed\r\n", "aaalib_init_main_thread",
                    "init main thread failed\r\n");
  expect_clean_record();
}

TEST_F(FailedRegistration, AReceiveThreadWithoutAttributesUndoesIt) {
  const test::ScriptedCalls calls({.pthread_create = [] { return ADD_FAILURE(), 0; },
                                   .pthread_attr_init = [] { return ENOMEM; }});
  register_in_vain(full_client(false));
  expect_last_lines("aaalib attr init failed\r\n", "aaalib_init_main_thread",
                    "init main thread failed\r\n");
  expect_clean_record();
}

TEST_F(FailedRegistration, ASendBufferThreadThatCannotBeCreatedUndoesIt) {
  int creations = 0;
  const test::ScriptedCalls calls({.pthread_create = [&] { return ++creations, EAGAIN; }});
  register_in_vain(full_client(true));
  EXPECT_EQ("init send buf thread failed\r\n", messages_.back());
  EXPECT_EQ("aaa_svr_reg", functions_.back());
  EXPECT_EQ(1, creations) << "the receive thread is not tried";
  expect_clean_record();
}

TEST_F(FailedRegistration, TheSendBufferThreadIsStoppedWhenTheReceiveThreadCannotBeCreated) {
  int creations = 0;
  const test::ScriptedCalls calls({.pthread_create = [&]() -> std::optional<int> {
    if (++creations == 2) return EAGAIN;
    return std::nullopt;
  }});
  register_in_vain(full_client(true));
  EXPECT_EQ(2, creations);
  EXPECT_EQ("init main thread failed\r\n", messages_.back());
  expect_clean_record();
}

TEST_F(FailedRegistration, CanBeFollowedByOneThatSucceeds) {
  {
    const test::ScriptedCalls calls({.pthread_create = [] { return EAGAIN; }});
    register_in_vain();
  }
  register_client();
  EXPECT_THAT(test::client_events(), ElementsAre(1));
}

TEST_F(FailedRegistration, DoesNotSleep) {
  const test::MovedClock clock;
  const test::ScriptedCalls calls({.pthread_create = [] { return EAGAIN; }});
  register_in_vain();
  EXPECT_EQ(0u, clock.sleeps());
}

TEST_F(FailedRegistration, AClosedGateKeepsItsLinesBack) {
  sim_.change([](aaa_sim::Settings& settings) { settings.status.debug = 0; });
  const test::LogCapture log;
  const test::ScriptedCalls calls({.pthread_create = [] { return EAGAIN; }});
  const reg_info info = test::client();
  EXPECT_EQ(-1, aaa_svr_reg(&info));
  EXPECT_EQ(-1, aaa_svr_reg(nullptr));
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
