// aaa_agent_init.
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <filesystem>

#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/receive/heartbeat.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/send_buffer.h"
#include "session/session_test.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/fresh_message_sockets.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AgentInit : public AgentTest {
 protected:
  void expect_refused(const reg_info* info, zv_thread_master* master) {
    EXPECT_EQ(-1, aaa_agent_init(info, master));
    expect_nothing_scheduled();
    EXPECT_EQ(1, state());
    EXPECT_THAT(client_events(), IsEmpty());
    EXPECT_TRUE(is_free(aaa_lib_lock));
  }
  void expect_already_registered(const reg_info& info = client()) {
    const OpenGate gate;
    const LogCapture log;
    const std::vector<AddedTask> before = loop_.tasks();
    const std::size_t told = times_told(AAA_EVENT_REGISTERED);
    EXPECT_EQ(0, aaa_agent_init(&info, loop_.master()));
    EXPECT_EQ(before, loop_.tasks());
    EXPECT_EQ(told + 1, times_told(AAA_EVENT_REGISTERED));
    expect_line(log, "aaa_agent_init", "already registered!\r\n");
  }

  static std::string pointer_text(const void* pointer) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
  }
};

TEST_F(AgentInit, ANullMasterIsRefusedAndBothPointersLogged) {
  aaa::set_model_name("test");
  const OpenGate gate;
  const LogCapture log;
  const reg_info info = client();
  expect_refused(&info, nullptr);
  expect_line(log, "aaa_agent_init",
              "invalid args reg_info(" + pointer_text(&info) + ") or master((nil))\r\n");
}

TEST_F(AgentInit, ANullRecordIsRefusedAndBothPointersLogged) {
  aaa::set_model_name("test");
  const OpenGate gate;
  const LogCapture log;
  expect_refused(nullptr, loop_.master());
  expect_line(log, "aaa_agent_init",
              "invalid args reg_info((nil)) or master(" + pointer_text(loop_.master()) + ")\r\n");
}

TEST_F(AgentInit, AnEmptyModelNameIsRefusedAndKeepsTheOldOne) {
  aaa::set_model_name("test");
  const OpenGate gate;
  const LogCapture log;
  const reg_info info = client("");
  expect_refused(&info, loop_.master());
  expect_line(log, "aaa_agent_init", "set model name() failed\r\n");
  EXPECT_STREQ("test", g_aaa_client_cb.model_name);
}

TEST_F(AgentInit, NothingIsLoggedBehindAClosedGate) {
  const LogCapture log;
  EXPECT_EQ(-1, aaa_agent_init(nullptr, nullptr));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AgentInit, TheModelNameIsCutTo63Characters) {
  reg_info info = client();
  std::fill_n(info.model_name, sizeof info.model_name, 'm');
  init(info);
  EXPECT_EQ(std::string(63, 'm'), g_aaa_client_cb.model_name);
}

TEST_F(AgentInit, SchedulesTheConnectionAndNothingElse) {
  const reg_info info = client();
  init(info);
  EXPECT_THAT(loop_.tasks(),
              ElementsAre(AddedTask{"event", loop_.master(), aaa::aaa_lib_agent_connect, &info, 0,
                                    "aaa-connect"}));
  EXPECT_NE(nullptr, aaa::g_agent_connect_ev);
  EXPECT_EQ(loop_.master(), aaa::g_agent_master);
}

TEST_F(AgentInit, LeavesTheConnectionToTheLoop) {
  init();
  EXPECT_EQ(1, state());
  expect_unconnected();
  EXPECT_EQ(0u, sim_.accepted_connections());
  EXPECT_EQ(0, aaa_is_alive());
  EXPECT_THAT(client_events(), IsEmpty());
}

TEST_F(AgentInit, StartsNoThreadAndDoesNotSleep) {
  const ScriptedCalls calls({.pthread_create = [] { return ADD_FAILURE(), 0; }});
  init();
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

TEST_F(AgentInit, StartsTheHeartbeatClocks) {
  aaa::store(aaalib_hbt_last_send, 5U);
  aaa::store(aaalib_hbt_last_recv, 5U);
  init();
  EXPECT_EQ(0u, aaalib_hbt_last_send);
  EXPECT_NEAR(library_seconds(), aaalib_hbt_last_recv, 1);
}

TEST_F(AgentInit, StartsWithoutAnId) {
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  init();
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
}

TEST_F(AgentInit, StartsTheFlushThreadWhenAskedTo) {
  reg_info info = client();
  info.use_send_buf = 2;
  init(info);
  EXPECT_TRUE(aaa::send_buffer_is_used());
  EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).size() == 1; }));
  EXPECT_FALSE(aaa::receive_thread_exists());
}

TEST_F(AgentInit, AFlushThreadThatCannotBeStartedUndoesIt) {
  const ScriptedCalls calls({.pthread_create = [] { return EAGAIN; }});
  const OpenGate gate;
  const LogCapture log;
  aaa::store(g_aaa_client_cb.aaa_id, 9);
  reg_info info = with_all_callbacks(client());
  info.use_send_buf = 1;
  expect_refused(&info, loop_.master());
  EXPECT_THAT(log.messages(), ElementsAre("aaalib create send buffer thread failed\r\n"));
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  EXPECT_EQ(std::vector<std::uintptr_t>(13, 0), ordinary_callbacks());
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(ldap_numbers(), ldap_callbacks());
  expect_unconnected();
}

TEST_F(AgentInit, MaySucceedAfterItHasFailed) {
  {
    const ScriptedCalls calls({.pthread_create = [] { return EAGAIN; }});
    reg_info info = client();
    info.use_send_buf = 1;
    expect_refused(&info, loop_.master());
  }
  init_and_connect();
  expect_steady();
}

TEST_F(AgentInit, WithoutTmpdirThereIsNoWorkDirectory) {
  unsetenv("TMPDIR");
  const OpenGate gate;
  const LogCapture log;
  const reg_info info = client();
  expect_refused(&info, loop_.master());
  EXPECT_THAT(log.messages(),
              ElementsAre("agent_init make directory failed\r\n", "TMPDIR is not set\r\n"));
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(nullptr, aaa::g_agent_master);
}

TEST_F(AgentInit, FailedDatagramSocketsAreReported) {
  const FreshMessageSockets fresh;
  const ScriptedCalls calls({.socket = [](int, int) {
    errno = EMFILE;
    return -1;
  }});
  const OpenGate gate;
  const LogCapture log;
  const reg_info info = client();
  expect_refused(&info, loop_.master());
  expect_line(log, "aaa_agent_init", "aaa_lib_msg_socket_init failed\r\n");
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
  EXPECT_EQ(nullptr, aaa::g_agent_master);
}

TEST_F(AgentInit, WhileRegisteredItOnlyRefreshesTheCallbacksAndTellsEvent1) {
  init_and_connect();
  reg_info again = client();
  again.get_online_info_cb = [](void*, const void*) {};
  again.use_send_buf = 1;
  expect_already_registered(again);
  EXPECT_EQ(again.get_online_info_cb, g_aaa_client_cb.get_online_info_cb);
  EXPECT_FALSE(aaa::send_buffer_is_used());
  EXPECT_EQ(2u, sim_.accepted_connections());
  expect_steady();
}

TEST_F(AgentInit, WhileRegisteredItDoesNotStoreTheMaster) {
  init_and_connect();
  const reg_info info = client();
  int other = 0;
  EXPECT_EQ(0, aaa_agent_init(&info, reinterpret_cast<zv_thread_master*>(&other)));
  EXPECT_EQ(loop_.master(), aaa::g_agent_master);
}

TEST_F(AgentInit, BeforeTheFirstConnectionItReplacesTheCallbacksAndTheConnectTask) {
  init();
  loop_.take_journal();
  reg_info again = client();
  again.get_online_info_cb = [](void*, const void*) {};
  init(again);
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-connect", "add aaa-connect"));
  EXPECT_THAT(client_events(), IsEmpty());
  EXPECT_EQ(again.get_online_info_cb, g_aaa_client_cb.get_online_info_cb);
  run("aaa-connect");
  expect_steady();
  EXPECT_EQ(2u, sim_.accepted_connections());
}

TEST_F(AgentInit, BeforeTheFirstConnectionItStoresTheMasterAndTheClocksAnew) {
  init();
  aaa::store(aaalib_hbt_last_send, 9U);
  aaa::store(aaalib_hbt_last_recv, 9U);
  const reg_info info = client();
  int other = 0;
  loop_.refuse(1, [&] {
    EXPECT_EQ(reinterpret_cast<zv_thread_master*>(&other), aaa::g_agent_master);
    aaa::g_agent_master = loop_.master();
  });
  EXPECT_EQ(0, aaa_agent_init(&info, reinterpret_cast<zv_thread_master*>(&other)));
  EXPECT_EQ(0u, aaa::load(aaalib_hbt_last_send));
  EXPECT_LE(library_seconds() - aaa::load(aaalib_hbt_last_recv), 5u);
}

TEST_F(AgentInit, BeforeTheFirstConnectionItMakesTheDirectoryAnew) {
  init();
  std::filesystem::remove_all(directory() + "/security");
  init();
  EXPECT_TRUE(std::filesystem::is_directory(directory() + "/security/aaa"));
}

TEST_F(AgentInit, BeforeTheFirstConnectionItStartsNoSecondFlushThread) {
  reg_info info = client();
  info.use_send_buf = 1;
  init(info);
  const pthread_t first = aaa::load(g_send_buf_tid);
  const ScriptedCalls calls({.pthread_create = [] { return ADD_FAILURE(), EAGAIN; }});
  init(info);
  EXPECT_EQ(first, aaa::load(g_send_buf_tid));
}

TEST_F(AgentInit, WhileAReconnectionIsPendingItReplacesThat) {
  init_and_connect();
  lose_aaad();
  loop_.take_journal();
  init();
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-reconnect", "add aaa-connect"));
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
  init_and_connect(client_that([this](std::uint32_t event) {
    if (event == AAA_EVENT_CONNECTION_LOST && times_told(AAA_EVENT_CONNECTION_LOST) == 1 &&
        aaa::load(g_aaa_client_cb.aaa_id) != -1)
      init();
  }));
  lose_link();
  run("aaa-reconnect");
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  run("aaa-connect");
  expect_steady();
  EXPECT_EQ(4u, sim_.accepted_connections());
}

TEST_F(AgentInit, TellsEvent1WithoutALockOfTheLibrary) {
  static bool was_free;
  was_free = false;
  init_and_connect();
  reg_info again = client();
  again.aaa_event_cb = [](std::uint32_t) { return was_free = is_free(aaa_lib_lock), 0; };
  EXPECT_EQ(0, aaa_agent_init(&again, loop_.master()));
  EXPECT_TRUE(was_free);
  const reg_info before = client();
  EXPECT_EQ(0, aaa_agent_init(&before, loop_.master()));
}

TEST_F(AgentInit, WhileAReceiveThreadTriesToConnectItOnlyReplacesTheCallbacks) {
  set_listening(false);
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REGISTERED));
  reg_info again = client();
  again.get_online_info_cb = [](void*, const void*) {};
  init(again);
  expect_nothing_scheduled();
  EXPECT_EQ(again.get_online_info_cb, g_aaa_client_cb.get_online_info_cb);
}

TEST_F(AgentInit, OfAReceiveThreadThatHasYetToTryItRaisesNoEvent) {
  aaa::store(aaa::g_receive_msg_tid, pthread_self());
  reg_info info = client();
  info.get_online_info_cb = [](void*, const void*) {};
  init(info);
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
  EXPECT_THAT(client_events(), IsEmpty());
  expect_nothing_scheduled();
  EXPECT_EQ(info.get_online_info_cb, g_aaa_client_cb.get_online_info_cb);
}

TEST_F(AgentInit, WhileACallbackOfAnEarlierThreadRunsTheConnectionWaits) {
  static std::atomic<bool> inside;
  static std::atomic<bool> let_go;
  inside = let_go = false;
  reg_info info = client();
  info.notify_del_msg_cb = [](const void*) {
    inside = true;
    EXPECT_TRUE(eventually([] { return let_go.load(); }, std::chrono::seconds(20)));
  };
  register_client(info);
  send(AAA_MSG_NOTIFY_DEL_MSG, Bytes(560));
  EXPECT_TRUE(eventually([] { return inside.load(); }));
  EXPECT_EQ(0, aaa_svr_dereg());
  init();
  run("aaa-connect");
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  EXPECT_EQ(1, state());
  let_go = true;
  EXPECT_TRUE(receive_thread_is_gone());
  run("aaa-connect");
  expect_steady();
}

// Group and others may not write to a directory that somebody else has prepared.
TEST_F(AgentInit, ChangesNoModeOfADirectoryThatExists) {
  const std::string work = directory() + "/security/aaa";
  ASSERT_EQ(0, chmod(work.c_str(), 0750));
  init();
  struct stat status = {};
  ASSERT_EQ(0, stat(work.c_str(), &status));
  EXPECT_EQ(0750u, status.st_mode & 07777);
  ASSERT_EQ(0, chmod(work.c_str(), 0777));
}

// The calling thread alone meets files as another user.
class OtherUser {
 public:
  OtherUser() { setfsuid(65534); }
  ~OtherUser() { setfsuid(0); }
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
};

TEST_F(AgentInit, UnderADirectoryOfAnotherUserRegistersAnUnprivilegedClient) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root becomes another user";
  const std::string work = directory() + "/security/aaa";
  ASSERT_EQ(0, chmod(directory().c_str(), 0755));
  ASSERT_EQ(0, chmod((work + "/.aaa_domain_socket_fs").c_str(), 0777));
  const OtherUser other;
  ASSERT_EQ(-1, chmod(work.c_str(), 0777));
  init_and_connect();
  expect_steady();
}

TEST_F(AgentInit, AfterDeregistrationAloneItStartsAnew) {
  init_and_connect();
  EXPECT_EQ(0, aaa_svr_dereg());
  loop_.take_journal();
  init();
  EXPECT_THAT(loop_.take_journal(),
              ElementsAre("cancel aaa-read", "cancel aaa-heartbeat", "add aaa-connect"));
  run("aaa-connect");
  expect_steady();
}

}  // namespace
}  // namespace test
