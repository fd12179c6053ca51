// aaa_svr_dereg.
#include "session/session_test.h"

namespace test::deregistration {

class Deregistration : public DeregistrationTest {};

TEST_F(Deregistration, SendsTheModelNameWithoutItsEndAndTellsEvent0Once) {
  register_client();
  EXPECT_EQ(0, deregister());
  expect_deregistered();
  const auto message = sim_.wait_for_message(received(2));
  ASSERT_TRUE(message);
  EXPECT_EQ(Role::request, message->role);
  EXPECT_EQ(message_bytes(2, "test"), bytes_of(*message));
  EXPECT_TRUE(sim_.wait_for_connections(0));
}

// The event callback registers anew as soon as it is told of the end.
int register_at_once(std::uint32_t event) {
  const reg_info info = client("again");
  return event == AAA_EVENT_CONNECTION_LOST ? aaa_svr_reg(&info) : 0;
}

TEST_F(Deregistration, LeavesARegistrationOfItsOwnEventCallbackAlone) {
  reg_info info = client();
  info.aaa_event_cb = register_at_once;
  register_client(info);
  EXPECT_EQ(0, deregister());
  EXPECT_EQ(1, aaa_is_alive());
  EXPECT_EQ(1, g_aaa_client_cb.aaa_id);
  EXPECT_NE(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(0, deregister());
  expect_deregistered();
}

TEST_F(Deregistration, ForgetsTheCallbacksButThoseOfLdapSearches) {
  register_quietly(with_all_callbacks(client()));
  EXPECT_EQ(0, deregister());
  EXPECT_EQ(no_ordinary_callbacks, ordinary_callbacks());
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(ldap_numbers(), ldap_callbacks());
}

TEST_F(Deregistration, KeepsTheModelNameTheStatusAndThePairOfDatagramSockets) {
  change([](Settings& settings) { settings.status = distinct_status(); });
  register_client();
  const std::int32_t server = lib_msg_server_fd;
  EXPECT_EQ(0, deregister());
  EXPECT_STREQ("test", g_aaa_client_cb.model_name);
  EXPECT_EQ(11u, g_aaa_status.new_model);
  EXPECT_EQ(20u, g_aaa_status.aaa_id_limit);
  EXPECT_EQ(1u, aaa::g_msg_socket_ok);
  EXPECT_EQ(server, lib_msg_server_fd);
  EXPECT_EQ(1u, aaa::g_mutex_init);
}

TEST_F(Deregistration, WritesItsLinesInOrder) {
  register_quietly();
  const std::string fd = sync_fd();
  const LogCapture log;
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_THAT(log.messages(),
              ElementsAre(": send message(deregister request) len(4) to " + fd + "\n\r\r\n",
                          ": aaa lib receive message from aaad type (deregister response), "
                          "len(0).\r\n",
                          "deregister to aaad success!\r\n"));
  EXPECT_THAT(log.functions(),
              ElementsAre("aaalib_send_ipc_msg_print", "aaa_client_dereg", "aaa_svr_dereg"));
}

TEST_F(Deregistration, SaysWhichThreadsItCancels) {
  register_client(batching_client());
  EXPECT_EQ(0, deregister());
  std::vector<std::string> of_the_call;
  for (std::size_t i = 0; i < messages_.size(); ++i)
    if (functions_[i] == "aaa_svr_dereg") of_the_call.push_back(messages_[i]);
  EXPECT_THAT(of_the_call,
              ElementsAre("cancel receive msg thread.\r\n", "cancel send buffer thread.\r\n",
                          "deregister to aaad success!\r\n"));
  register_client();
  EXPECT_EQ(0, deregister());
  EXPECT_THAT(messages_, Contains("cancel receive msg thread.\r\n"));
  EXPECT_THAT(messages_, testing::Not(Contains("cancel send buffer thread.\r\n")));
}

TEST_F(Deregistration, ABufferedMessageIsDiscarded) {
  register_quietly();
  EXPECT_EQ(0, aaa_lib_add_send_buf(message_bytes(132, "x").data(), 17));
  ASSERT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(0, deregister());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
  EXPECT_EQ(0u, aaalib_send_buf.header.length);
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(0u, sim_.count(received(132)));
  EXPECT_EQ(0u, sim_.count(received(25)));
}

std::vector<std::int32_t> seen_at_event;

int look_at_the_record(std::uint32_t event) {
  if (event == 0) {
    seen_at_event = {g_aaa_client_cb.reg_state, g_aaa_client_cb.aaa_id, g_aaa_client_cb.sync_fd,
                     g_aaa_client_cb.async_fd, is_free(aaa_lib_lock) ? 1 : 0};
  }
  return 0;
}

TEST_F(Deregistration, Event0ComesWhenTheStateIs1AndBeforeTheIdIsForgotten) {
  reg_info info = client();
  info.aaa_event_cb = look_at_the_record;
  register_quietly(info);
  EXPECT_EQ(0, deregister());
  EXPECT_THAT(seen_at_event, ElementsAre(1, 1, -1, -1, 0));
}

TEST_F(Deregistration, OfAClientThatIsNotOrNoLongerRegisteredDoesNothing) {
  for (const bool registered_before : {false, true}) {
    if (registered_before) {
      register_client();
      EXPECT_EQ(0, aaa_svr_dereg());
    }
    EXPECT_EQ(0, deregister());
    EXPECT_THAT(messages_,
                ElementsAre("already unregistered or not registered or is connecting!\r\n",
                            "aaa has been deregister\r\n"));
    EXPECT_THAT(functions_, ElementsAre("aaa_is_alive", "aaa_svr_dereg"));
  }
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
  EXPECT_EQ(-1, g_aaa_client_cb.aaa_id);
}

TEST_F(Deregistration, AClosedGateKeepsItsLinesBack) {
  register_quietly();
  aaa_set_debug_switch(0);
  const LogCapture log;
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Deregistration, HoldsTheLibraryLockWhileItSendsTheRequest) {
  register_quietly();
  bool was_free = true;
  const ScriptedCalls calls(
      {.send = on_request_socket(noting([&] { was_free = is_free(aaa_lib_lock); }))});
  EXPECT_EQ(0, deregister());
  EXPECT_FALSE(was_free);
}

}  // namespace test::deregistration
