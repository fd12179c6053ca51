// aaa_agent_init.
#include <filesystem>

#include "agent/agent_client.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/receive/recovery.h"
#include "runtime/send/send_buffer.h"
#include "session/callbacks_of_clients.h"
#include "support/fresh_message_sockets.h"
#include "support/locked_state.h"
#include "support/stopping_point.h"

namespace test::agent_init {

// Another master, and a callback by which a second registration can be told from the first.
zv_thread_master* other_master() {
  static int other = 0;
  return reinterpret_cast<zv_thread_master*>(&other);
}
void online(void*, const void*) {}

reg_info second_client() {
  reg_info info = client();
  info.get_online_info_cb = online;
  return info;
}

class AgentInit : public AgentTest {
 protected:
  void expect_refused(const reg_info* info, zv_thread_master* master) {
    EXPECT_EQ(-1, aaa_agent_init(info, master));
    expect_nothing_scheduled();
    EXPECT_EQ(1, state());
    EXPECT_THAT(client_events(), IsEmpty());
    EXPECT_TRUE(is_free(aaa_lib_lock));
  }
  // The same of a good record, which leaves nothing of it on record; returns the lines.
  std::vector<std::string> expect_vain(const reg_info& info, Scripts scripts = {}) {
    const ScriptedCalls calls(std::move(scripts));
    const OpenLog log;
    expect_refused(&info, loop_.master());
    EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
    return log.messages();
  }
  // The call only replaces the callbacks and tells event 1.
  void expect_already_registered(const reg_info& info = second_client()) {
    const OpenLog log;
    const std::vector<AddedTask> before = loop_.tasks();
    const std::size_t told = times_told(AAA_EVENT_REGISTERED);
    EXPECT_EQ(0, aaa_agent_init(&info, loop_.master()));
    EXPECT_EQ(before, loop_.tasks());
    EXPECT_EQ(told + 1, times_told(AAA_EVENT_REGISTERED));
    EXPECT_EQ(online, g_aaa_client_cb.get_online_info_cb);
    expect_line(log, "aaa_agent_init", "already registered!\r\n");
  }
};

std::string text_of(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", pointer);
  return text;
}

TEST_F(AgentInit, BadArgumentsAreRefusedWithALineAndKeepTheModelName) {
  test::set_model_name("test");
  const reg_info info = client();
  const reg_info nameless = client("");
  const std::string of_info = text_of(&info);
  const std::string of_master = text_of(loop_.master());
  const std::tuple<const reg_info*, zv_thread_master*, std::string> arguments_and_lines[] = {
      {&info, nullptr, "invalid args reg_info(" + of_info + ") or master((nil))\r\n"},
      {nullptr, loop_.master(), "invalid args reg_info((nil)) or master(" + of_master + ")\r\n"},
      {&nameless, loop_.master(), "set model name() failed\r\n"}};
  for (const auto& [record, master, line] : arguments_and_lines) {
    const OpenLog log;
    expect_refused(record, master);
    expect_line(log, "aaa_agent_init", line);
  }
  EXPECT_STREQ("test", g_aaa_client_cb.model_name);
  const LogCapture log;
  expect_refused(nullptr, nullptr);
  EXPECT_THAT(log.lines(), IsEmpty()) << "behind a closed gate";
}

TEST_F(AgentInit, TheModelNameIsCutTo63Characters) {
  reg_info info = client();
  std::fill_n(info.model_name, sizeof info.model_name, 'm');
  init(info);
  EXPECT_EQ(std::string(63, 'm'), g_aaa_client_cb.model_name);
}

TEST_F(AgentInit, SchedulesTheConnectionWhichItLeavesToTheLoop) {
  const ScriptedCalls calls({.pthread_create = unwanted()});
  const reg_info info = client();
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  aaa::store(aaalib_hbt_last_send, 5U);
  aaa::store(aaalib_hbt_last_recv, 5U);
  init(info);
  EXPECT_THAT(loop_.tasks(),
              ElementsAre(AddedTask{"event", loop_.master(), aaa::aaa_lib_agent_connect, &info, 0,
                                    "aaa-connect"}));
  EXPECT_NE(nullptr, aaa::g_agent_connect_ev);
  EXPECT_EQ(loop_.master(), aaa::g_agent_master);
  EXPECT_EQ(1, state());
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  EXPECT_EQ(0u, aaalib_hbt_last_send);
  EXPECT_NEAR(library_seconds(), aaalib_hbt_last_recv, 1);
  expect_unconnected();
  EXPECT_EQ(0u, sim_.accepted_connections());
  EXPECT_EQ(0, aaa_is_alive());
  EXPECT_THAT(client_events(), IsEmpty());
  EXPECT_FALSE(aaa::receive_thread_exists());
  EXPECT_EQ(0u, clock_.sleeps());
}

TEST_F(AgentInit, MakesTheLocksTheDirectoryAndTheDatagramPair) {
  const FreshMessageSockets fresh;
  init();
  EXPECT_EQ(1, aaa::g_mutex_init);
  EXPECT_TRUE(is_free(aaa_lib_lock));
  EXPECT_TRUE(std::filesystem::is_directory(directory() + "/security/aaa"));
  EXPECT_TRUE(FreshMessageSockets::made());
  EXPECT_EQ(1, g_send_buf_init);
}

TEST_F(AgentInit, CopiesTheCallbacks) {
  init(with_all_callbacks(client()));
  EXPECT_EQ(ordinary_numbers(), ordinary_callbacks());
  EXPECT_EQ(ldap_numbers(), ldap_callbacks());
  EXPECT_EQ(client().aaa_event_cb, g_aaa_client_cb.aaa_event_cb);
}

TEST_F(AgentInit, StartsOneFlushThreadWhenAskedTo) {
  reg_info info = client();
  info.use_send_buf = 2;
  init(info);
  EXPECT_TRUE(aaa::send_buffer_is_used());
  EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).size() == 1; }));
  EXPECT_FALSE(aaa::receive_thread_exists());
  const pthread_t first = aaa::load(g_send_buf_tid);
  const ScriptedCalls calls({.pthread_create = unwanted()});
  init(info);
  EXPECT_EQ(first, aaa::load(g_send_buf_tid)) << "before the first connection";
}

TEST_F(AgentInit, AFlushThreadThatCannotBeStartedUndoesItAndItMaySucceedLater) {
  aaa::store(g_aaa_client_cb.aaa_id, 9);
  EXPECT_THAT(
      expect_vain(with_all_callbacks(batching_client()), {.pthread_create = returning(EAGAIN)}),
      ElementsAre("aaalib create send buffer thread failed\r\n"));
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  EXPECT_EQ(no_ordinary_callbacks, ordinary_callbacks());
  EXPECT_EQ(ldap_numbers(), ldap_callbacks());
  expect_unconnected();
  init_and_connect();
  expect_steady();
}

TEST_F(AgentInit, WithoutTmpdirThereIsNoWorkDirectory) {
  unsetenv("TMPDIR");
  EXPECT_THAT(expect_vain(client()),
              ElementsAre("agent_init make directory failed\r\n", "TMPDIR is not set\r\n"));
  EXPECT_EQ(nullptr, aaa::g_agent_master);
}

TEST_F(AgentInit, FailedDatagramSocketsAreReported) {
  const FreshMessageSockets fresh;
  const LogCapture log;
  expect_vain(client(), {.socket = failing(EMFILE)});
  expect_line(log, "aaa_agent_init", "aaa_lib_msg_socket_init failed\r\n");
  EXPECT_EQ(nullptr, aaa::g_agent_master);
}

TEST_F(AgentInit, WhileRegisteredItOnlyReplacesTheCallbacksAndTellsEvent1) {
  init_and_connect();
  reg_info again = second_client();
  again.use_send_buf = 1;
  expect_already_registered(again);
  EXPECT_FALSE(aaa::send_buffer_is_used());
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_EQ(0, aaa_agent_init(&again, other_master()));
  EXPECT_EQ(loop_.master(), aaa::g_agent_master) << "the other is not stored";
  expect_steady();
}

TEST_F(AgentInit, BeforeTheFirstConnectionItReplacesTheCallbacksAndTheConnectTask) {
  init();
  loop_.take_journal();
  init(second_client());
  expect_journal({"cancel aaa-connect", "add aaa-connect"});
  EXPECT_THAT(client_events(), IsEmpty());
  EXPECT_EQ(online, g_aaa_client_cb.get_online_info_cb);
  run("aaa-connect");
  expect_steady();
  EXPECT_EQ(2u, sim_.accepted_connections());
}

TEST_F(AgentInit, BeforeTheFirstConnectionItStoresTheMasterAndTheClocksAnew) {
  init();
  aaa::store(aaalib_hbt_last_send, 9U);
  aaa::store(aaalib_hbt_last_recv, 9U);
  const reg_info info = client();
  loop_.refuse(1, [&] {
    EXPECT_EQ(other_master(), aaa::g_agent_master);
    aaa::g_agent_master = loop_.master();
  });
  EXPECT_EQ(0, aaa_agent_init(&info, other_master()));
  EXPECT_EQ(0u, aaa::load(aaalib_hbt_last_send));
  EXPECT_LE(library_seconds() - aaa::load(aaalib_hbt_last_recv), 5u);
}

TEST_F(AgentInit, WhileAReconnectionIsPendingItReplacesThat) {
  init_and_connect();
  lose_aaad();
  loop_.take_journal();
  init();
  expect_journal({"cancel aaa-reconnect", "add aaa-connect"});
  EXPECT_THAT(client_events(), ElementsAre(1));
}

TEST_F(AgentInit, WhileReconnectingFailsItCountsAsRegistered) {
  init_and_connect();
  lose_aaad();
  run("aaa-reconnect");
  EXPECT_EQ(5, state());
  expect_already_registered();
  expect_reconnecting();
}

TEST_F(AgentInit, FromInsideTheLossEventItStartsAnew) {
  init_and_connect(client_that_at(AAA_EVENT_CONNECTION_LOST, [this] { init(); }));
  lose_link();
  run("aaa-reconnect");
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  run("aaa-connect");
  expect_steady();
  EXPECT_EQ(4u, sim_.accepted_connections());
}

TEST_F(AgentInit, TellsEvent1WithoutALockOfTheLibrary) {
  init_and_connect();
  std::vector<bool> free;
  const reg_info again =
      client_that_at(AAA_EVENT_REGISTERED, [&] { free.push_back(is_free(aaa_lib_lock)); });
  EXPECT_EQ(0, aaa_agent_init(&again, loop_.master()));
  EXPECT_THAT(free, ElementsAre(true));
}

TEST_F(AgentInit, WhileAReceiveThreadTriesToConnectItOnlyReplacesTheCallbacks) {
  set_listening(false);
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REGISTERED));
  init(second_client());
  expect_nothing_scheduled();
  EXPECT_EQ(online, g_aaa_client_cb.get_online_info_cb);
}

TEST_F(AgentInit, OfAReceiveThreadThatHasYetToTryItRaisesNoEvent) {
  aaa::store(aaa::g_receive_msg_tid, pthread_self());
  init(second_client());
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
  EXPECT_THAT(client_events(), IsEmpty());
  expect_nothing_scheduled();
  EXPECT_EQ(online, g_aaa_client_cb.get_online_info_cb);
}

TEST_F(AgentInit, WhileACallbackOfAnEarlierThreadRunsTheConnectionWaits) {
  static StoppingPoint callback;
  callback.reset();
  reg_info info = client();
  info.notify_del_msg_cb = [](const void*) { callback.stop(); };
  register_client(info);
  send(AAA_MSG_NOTIFY_DEL_MSG, zeros(560));
  EXPECT_TRUE(callback.is_reached());
  EXPECT_EQ(0, aaa_svr_dereg());
  init();
  run("aaa-connect");
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  EXPECT_EQ(1, state());
  callback.go_on();
  EXPECT_TRUE(receive_thread_is_gone());
  run("aaa-connect");
  expect_steady();
}

TEST_F(AgentInit, AfterDeregistrationAloneItStartsAnew) {
  init_and_connect();
  EXPECT_EQ(0, aaa_svr_dereg());
  loop_.take_journal();
  init();
  expect_journal({"cancel aaa-read", "cancel aaa-heartbeat", "add aaa-connect"});
  run("aaa-connect");
  expect_steady();
}

}  // namespace test::agent_init
