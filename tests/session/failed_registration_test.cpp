// Registrations that fail, and what they leave.
#include <filesystem>

#include "session/session_test.h"
#include "support/fresh_message_sockets.h"

namespace test::failed_registration {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class FailedRegistration : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    open_gate();
  }

  // Registers in vain; keeps the lines.
  void register_in_vain(const reg_info& info = client(), Scripts scripts = {}) {
    const ScriptedCalls calls(std::move(scripts));
    const LogCapture log;
    EXPECT_EQ(-1, aaa_svr_reg(&info));
    messages_ = log.messages();
    functions_ = log.functions();
    EXPECT_TRUE(is_free(aaa_lib_lock));
    EXPECT_THAT(client_events(), IsEmpty());
  }
  // The same for the start of a thread, which leaves a clean record; expects the last lines.
  void expect_undone(bool use_send_buf, Scripts scripts, const std::string& reason,
                     const std::string& function, const std::string& summary) {
    reg_info info = with_all_callbacks(client());
    info.use_send_buf = use_send_buf ? 1 : 0;
    const MovedClock clock;
    register_in_vain(info, std::move(scripts));
    EXPECT_EQ(0u, clock.sleeps());
    // A flush thread that was started meanwhile names itself.
    std::erase(functions_, "set_thread_name");
    std::erase_if(messages_, [](const auto& line) { return line.starts_with("thread name"); });
    ASSERT_GE(messages_.size(), 2u);
    EXPECT_EQ(reason, *(messages_.end() - 2));
    EXPECT_EQ(function, *(functions_.end() - 2));
    EXPECT_EQ(summary, messages_.back());
    EXPECT_EQ("aaa_svr_reg", functions_.back());
    expect_unconnected();
    EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
    EXPECT_EQ(1, g_aaa_client_cb.reg_state);
    EXPECT_EQ(no_ordinary_callbacks, ordinary_callbacks());
    EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
    EXPECT_EQ(ldap_numbers(), ldap_callbacks());
    EXPECT_FALSE(aaa::receive_thread_exists());
    EXPECT_FALSE(aaa::send_buffer_is_used());
    EXPECT_TRUE(sim_.wait_for_connections(0));
  }

  // The line that names the test's own TMPDIR and what is asked of it.
  testing::Matcher<std::string> line_of_tmpdir() const {
    return testing::AllOf(
        StartsWith("TMPDIR is '" + directory() + "', "), HasSubstr("be writable"),
        EndsWith("security/aaa in it must belong to the user that calls aaa_svr_reg()\r\n"));
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
  EXPECT_THAT(functions_, Each("aaa_svr_reg"));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  EXPECT_EQ(77, g_aaa_client_cb.aaa_id) << "nothing has been begun";
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(FailedRegistration, ATmpdirOfAnotherFormIsNamed) {
  setenv("TMPDIR", "tmp/aaa", 1);
  register_in_vain();
  EXPECT_THAT(
      messages_,
      ElementsAre("agent_init make directory failed\r\n",
                  "TMPDIR is 'tmp/aaa', 7 bytes; it must begin with '/' or './', be writable "
                  "and have at most 75 bytes, and security/aaa in it must belong to the user "
                  "that calls aaa_svr_reg()\r\n"));
}

TEST_F(FailedRegistration, ATmpdirThatIsNotWritableIsNamed) {
  register_in_vain(client(), {.mkdir = failing(EACCES)});
  EXPECT_THAT(messages_, ElementsAre("agent_init make directory failed\r\n", line_of_tmpdir()));
}

TEST_F(FailedRegistration, AWorkDirectoryOfAnotherUserIsNamed) {
  register_in_vain(client(), {.chmod = failing(EPERM)});
  EXPECT_THAT(messages_, ElementsAre("agent_init make directory failed\r\n", line_of_tmpdir()));
}

TEST_F(FailedRegistration, WithALongTmpdirThereAreNoDatagramSockets) {
  const FreshMessageSockets fresh;
  const std::string longer = directory() + "/" + std::string(90 - directory().size() - 1, 'x');
  ASSERT_EQ(90u, longer.size());
  std::filesystem::create_directory(longer);
  setenv("TMPDIR", longer.c_str(), 1);
  register_in_vain();
  EXPECT_THAT(messages_, ElementsAre("aaa_lib_msg_socket_init failed\r\n",
                                     StartsWith("TMPDIR is '" + longer.substr(0, 80) +
                                                "', 90 bytes; it must")));
  EXPECT_THAT(functions_, Each("aaa_svr_reg"));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  setenv("TMPDIR", directory().c_str(), 1);
  register_quietly();
}

TEST_F(FailedRegistration, AFailedDatagramSocketIsReported) {
  const FreshMessageSockets fresh;
  register_in_vain(client(), {.socket = failing(EMFILE)});
  EXPECT_THAT(messages_,
              ElementsAre("create socket(message server fd) failed, err(24)\r\n",
                          "aaa_lib_msg_socket_init failed\r\n", StartsWith("TMPDIR is '")));
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(FailedRegistration, AReceiveThreadThatCannotBeCreatedUndoesIt) {
  expect_undone(false, {.pthread_create = returning(EAGAIN)},
                "aaalib create main thread failed\r\n", "aaalib_init_main_thread",
                "init main thread failed\r\n");
  register_client();
  EXPECT_THAT(client_events(), ElementsAre(1)) << "a later one succeeds";
}

TEST_F(FailedRegistration, AReceiveThreadWithoutAttributesUndoesIt) {
  expect_undone(false, {.pthread_create = unwanted(), .pthread_attr_init = returning(ENOMEM)},
                "aaalib attr init failed\r\n", "aaalib_init_main_thread",
                "init main thread failed\r\n");
}

TEST_F(FailedRegistration, AFlushThreadThatCannotBeCreatedUndoesIt) {
  int creations = 0;
  expect_undone(true, {.pthread_create = [&] { return ++creations, EAGAIN; }},
                "aaalib create send buffer thread failed\r\n", "aaalib_init_send_buf_thread",
                "init send buf thread failed\r\n");
  EXPECT_EQ(1, creations) << "the receive thread is not tried";
}

TEST_F(FailedRegistration, TheFlushThreadIsStoppedWhenTheReceiveThreadCannotBeCreated) {
  int creations = 0;
  const auto create = [&]() -> std::optional<int> {
    if (++creations == 2) return EAGAIN;
    return std::nullopt;
  };
  expect_undone(true, {.pthread_create = create}, "aaalib create main thread failed\r\n",
                "aaalib_init_main_thread", "init main thread failed\r\n");
  EXPECT_EQ(2, creations);
}

TEST_F(FailedRegistration, AClosedGateKeepsItsLinesBack) {
  change([](Settings& settings) { settings.status.debug = 0; });
  aaa_set_debug_switch(0);
  register_in_vain(client(), {.pthread_create = returning(EAGAIN)});
  EXPECT_EQ(-1, aaa_svr_reg(nullptr));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace test::failed_registration
