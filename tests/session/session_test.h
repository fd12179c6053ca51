// What tests of registration and deregistration share.
#pragma once

#include "runtime/receive/receive_thread.h"
#include "runtime/send/local_delivery.h"
#include "runtime/send/send_buffer.h"
#include "session/callbacks_of_clients.h"
#include "support/library_test.h"
#include "support/locked_state.h"

namespace test {

// Lets every start of a thread succeed without one: what registration leaves then stays as it is.
inline Scripts without_threads() {
  return {.pthread_create = [] { return 0; }};
}

// Ten status words, each different.
inline aaa_status distinct_status() {
  return {.new_model = 11,
          .acct_period = 12,
          .acct_status = 13,
          .debug = 0,
          .debug_msg_limit = 15,
          .pro_status = 16,
          .local_user_public_account = 17,
          .acct_start_fail_policy = 18,
          .login_service_check_mode = 19,
          .aaa_id_limit = 20};
}

// A simulated aaad. What a test leaves open is closed.
class SessionTest : public SimulatedTest {
 protected:
  void TearDown() override {
    stop_library();
    aaa_lib_client_close();
    test::set_reg_state(AAA_REG_NOT_REGISTERED);
    SimulatedTest::TearDown();
  }

  void change(const std::function<void(Settings&)>& edit) { sim_.change(edit); }
  void answer_id(std::uint32_t id) {
    change([id](Settings& settings) { settings.aaa_id = id; });
  }
  // The debug gate is open, and stays so when aaad's status words have arrived.
  void open_gate() {
    change([](Settings& settings) { settings.status.debug = 1; });
    aaa_set_debug_switch(1);
  }

  // Registers and leaves the library without threads; the second form without expecting aaad.
  void register_quietly(const reg_info& info = client()) {
    const ScriptedCalls calls(without_threads());
    register_client(info);
  }
  static void register_unconnected() {
    const ScriptedCalls calls(without_threads());
    const reg_info info = client();
    EXPECT_EQ(0, aaa_svr_reg(&info));
    EXPECT_EQ(1, g_aaa_client_cb.reg_state);
    expect_unconnected();
    EXPECT_THAT(client_events(), ElementsAre(1));
  }

  // A message of no use to anybody, whose callback is notify_del_msg_cb.
  void send_notice() {
    const std::string body(560, '\0');
    EXPECT_EQ(1u, sim_.send_message({}, Role::event, AAA_MSG_NOTIFY_DEL_MSG, 0, view(body)));
  }

  std::string sync_fd() const { return std::to_string(g_aaa_client_cb.sync_fd); }
  std::string async_fd() const { return std::to_string(g_aaa_client_cb.async_fd); }

  LogCapture log_;
};

// Behind an open gate.
class DeregistrationTest : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    open_gate();
  }
  // Deregisters; keeps the lines behind the one of the send.
  std::int32_t deregister() {
    const LogCapture log;
    const std::int32_t result = aaa_svr_dereg();
    messages_.clear();
    functions_.clear();
    for (const LogLine& line : log.lines()) {
      if (line.function() == "aaalib_send_ipc_msg_print") continue;
      messages_.push_back(line.message());
      functions_.push_back(line.function());
    }
    EXPECT_TRUE(is_free(aaa_lib_lock));
    EXPECT_TRUE(is_free(aaa_lib_send_buf_lock));
    return result;
  }
  // And the client was told so.
  static void expect_deregistered() {
    EXPECT_EQ(1, g_aaa_client_cb.reg_state);
    EXPECT_EQ(-1, g_aaa_client_cb.aaa_id);
    EXPECT_EQ(0, aaa_is_alive());
    expect_unconnected();
    EXPECT_THAT(client_events(), ElementsAre(1, 0));
    EXPECT_FALSE(aaa::receive_thread_exists());
    EXPECT_FALSE(aaa::send_buffer_is_used());
  }

  std::vector<std::string> messages_;
  std::vector<std::string> functions_;
};

}  // namespace test
