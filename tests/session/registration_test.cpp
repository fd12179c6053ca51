// aaa_svr_reg.
#include <thread>

#include "session/session_test.h"
#include "support/fresh_message_sockets.h"

namespace {

using test::received;
using test::Role;
using testing::ElementsAre;
using testing::IsEmpty;

class Registration : public test::SessionTest {};

TEST_F(Registration, RegistersAndTellsEvent1) {
  register_client();
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
  EXPECT_EQ(1, g_aaa_client_cb.aaa_id);
  EXPECT_THAT(test::client_events(), ElementsAre(1));
  EXPECT_EQ((std::vector<aaa_sim::ClientName>{{"test", getpid()}}), sim_.clients());
}

TEST_F(Registration, ANullRecordIsRefused) {
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-1, aaa_svr_reg(nullptr));
  EXPECT_THAT(log.messages(), ElementsAre("invalid args reg_info((nil))\r\n"));
  EXPECT_EQ("[%5d][%14.14s][%30.30s] invalid args reg_info(%p)\r\n", log.lines().front().format);
  EXPECT_EQ("aaa_svr_reg", log.lines().front().function());
}

TEST_F(Registration, AnEmptyModelNameIsRefusedWithoutALine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  aaa::set_model_name("before");
  const reg_info info = test::client("");
  EXPECT_EQ(-1, aaa_svr_reg(&info));
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_STREQ("before", g_aaa_client_cb.model_name);
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(Registration, TheModelNameIsStored) {
  register_client(test::client("dot1x"));
  EXPECT_STREQ("dot1x", g_aaa_client_cb.model_name);
}

TEST_F(Registration, AModelNameWithoutEndIsStoredAsItsFirst63Characters) {
  reg_info info = test::client();
  std::memset(info.model_name, 'm', sizeof info.model_name);
  register_client(info);
  EXPECT_EQ(std::string(63, 'm'), g_aaa_client_cb.model_name);
  EXPECT_EQ('\0', g_aaa_client_cb.model_name[63]);
}

TEST_F(Registration, EveryCallbackGoesToItsField) {
  register_quietly(test::with_all_callbacks(test::client()));
  EXPECT_EQ(test::ordinary_numbers(), test::ordinary_callbacks());
  EXPECT_EQ(test::ldap_numbers(), test::ldap_callbacks());
  EXPECT_EQ(test::client().aaa_event_cb, g_aaa_client_cb.aaa_event_cb);
}

TEST_F(Registration, TheReservedCallbackIsNeverCalled) {
  reg_info info = test::client();
  info.reserved_cb = [] { ADD_FAILURE() << "called"; };
  register_client(info);
  EXPECT_EQ(0, aaa_svr_dereg());
}

TEST_F(Registration, NullCallbacksAreAllowed) {
  reg_info info = test::client();
  info.aaa_event_cb = nullptr;
  register_client(info);
  EXPECT_EQ(0, aaa_svr_dereg());
}

TEST_F(Registration, ThePairOfDatagramSocketsIsMade) {
  const test::FreshMessageSockets fresh;
  register_quietly();
  EXPECT_TRUE(fresh.made());
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(fresh.made());
}

TEST_F(Registration, TheSendBufferIsInitialised) {
  g_send_buf_init = 0;
  aaalib_send_buf.header = {};
  register_quietly();
  EXPECT_EQ(1u, g_send_buf_init);
  EXPECT_EQ(25u, aaalib_send_buf.header.type);
  EXPECT_EQ(0x01010101u, aaalib_send_buf.header.marker);
}

TEST_F(Registration, TheHeartbeatClocksAndTheCoreAreSet) {
  aaalib_hbt_last_send = 5;
  aaalib_hbt_last_recv = 5;
  reg_info info = test::client();
  info.bind_core_id = 3;
  const std::uint32_t before = test::library_seconds();
  register_quietly(info);
  EXPECT_EQ(0u, aaalib_hbt_last_send);
  EXPECT_GE(aaalib_hbt_last_recv, before);
  EXPECT_LE(aaalib_hbt_last_recv, test::library_seconds());
  EXPECT_EQ(3, aaa::g_aaalib_bind_core_id);
}

TEST_F(Registration, TheIdOfAnEarlierRegistrationIsForgottenFirst) {
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  std::int32_t id_while_connecting = 99;
  test::Scripts scripts = test::without_threads();
  scripts.connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
    id_while_connecting = g_aaa_client_cb.aaa_id;
    return std::nullopt;
  };
  const test::ScriptedCalls calls(scripts);
  register_client();
  EXPECT_EQ(0, id_while_connecting);
}

TEST_F(Registration, TheCallbacksAreStoredAfterTheExchanges) {
  bool stored = true;
  test::Scripts scripts = test::without_threads();
  scripts.connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
    stored = g_aaa_client_cb.aaa_event_cb != nullptr;
    return std::nullopt;
  };
  const test::ScriptedCalls calls(scripts);
  register_client();
  EXPECT_FALSE(stored);
}

std::uint64_t slept_at_event;
bool lock_free_at_event;
const test::MovedClock* clock_at_event;

int look_around(std::uint32_t) {
  slept_at_event = clock_at_event->slept_us();
  lock_free_at_event = test::is_free(aaa_lib_lock);
  return 0;
}

TEST_F(Registration, Event1FollowsASleepOf100MillisecondsWithoutTheLock) {
  const test::MovedClock clock;
  clock_at_event = &clock;
  lock_free_at_event = false;
  reg_info info = test::client();
  info.aaa_event_cb = look_around;
  register_quietly(info);
  EXPECT_EQ(1u, clock.sleeps());
  EXPECT_EQ(100000u, slept_at_event);
  EXPECT_TRUE(lock_free_at_event);
  g_aaa_client_cb.aaa_event_cb = nullptr;
}

TEST_F(Registration, TheLibraryLockIsHeldUntilTheThreadsAreStarted) {
  std::vector<bool> free;
  const test::ScriptedCalls calls({.connect =
                                       [&](int, const sockaddr*, unsigned) {
                                         free.push_back(test::is_free(aaa_lib_lock));
                                         return std::optional<int>();
                                       },
                                   .pthread_create =
                                       [&] {
                                         free.push_back(test::is_free(aaa_lib_lock));
                                         return 0;
                                       }});
  register_client();
  EXPECT_GE(free.size(), 3u);
  EXPECT_THAT(free, testing::Each(false));
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(Registration, WithoutASendBufferOneThreadIsStarted) {
  register_client();
  EXPECT_NE(0u, aaa::g_receive_msg_tid);
  EXPECT_FALSE(aaa::send_buffer_is_used());
}

TEST_F(Registration, WithASendBufferTwoThreadsAreStarted) {
  reg_info info = test::client();
  info.use_send_buf = 200;
  register_client(info);
  EXPECT_NE(0u, aaa::g_receive_msg_tid);
  EXPECT_TRUE(aaa::send_buffer_is_used());
}

TEST_F(Registration, TheReceiveThreadIsDetached) {
  register_client();
  pthread_attr_t attributes;
  ASSERT_EQ(0, pthread_getattr_np(aaa::g_receive_msg_tid, &attributes));
  int state = -1;
  pthread_attr_getdetachstate(&attributes, &state);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(PTHREAD_CREATE_DETACHED, state);
}

TEST_F(Registration, LocksThatCannotBeMadeDoNotStopIt) {
  aaa::g_mutex_init = 0;
  {
    test::Scripts scripts = test::without_threads();
    scripts.pthread_mutex_init = [](pthread_mutex_t*) { return EAGAIN; };
    const test::ScriptedCalls calls(scripts);
    register_client();
  }
  EXPECT_EQ(0, aaa_lib_mutex_init());
}

TEST_F(Registration, WithoutAaadItSucceedsInState1WithoutSockets) {
  sim_.stop();
  const test::ScriptedCalls calls(test::without_threads());
  const reg_info info = test::client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  test::expect_unconnected();
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  EXPECT_THAT(test::client_events(), ElementsAre(1));
  EXPECT_EQ(0, aaa_is_alive());
}

TEST_F(Registration, WithoutAaadTheReceiveThreadIsStartedAndRegistersLater) {
  sim_.stop();
  test::MovedClock clock;
  clock.shorten_sleeps();
  const reg_info info = test::client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  sim_.start();
  EXPECT_TRUE(test::wait_for_event(2));
  EXPECT_EQ(1, aaa_is_alive());
}

TEST_F(Registration, ARefusalSucceedsInState1WithoutSockets) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 255; });
  const test::OpenGate gate;
  const test::LogCapture log;
  const test::ScriptedCalls calls(test::without_threads());
  const reg_info info = test::client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(1u, log.count("model test has been registered or tag is used up\r\n"));
  EXPECT_EQ(1u, log.count("model test has already registered or is an illegal model.\r\n"));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  test::expect_unconnected();
  EXPECT_THAT(test::client_events(), ElementsAre(1));
}

TEST_F(Registration, AFailedEventSocketClosesBoth) {
  sim_.set_fault(Role::event, 0, test::Fault::close);
  const test::ScriptedCalls calls(test::without_threads());
  const reg_info info = test::client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(1, g_aaa_client_cb.reg_state);
  test::expect_unconnected();
  EXPECT_TRUE(sim_.wait_for_connections(0));
}

}  // namespace
