// aaa_svr_reg.
#include "session/session_test.h"
#include "support/fresh_message_sockets.h"
#include "support/locked_state.h"

namespace test::registration {

class Registration : public SessionTest {
 protected:
  // Registers without threads, and runs `action` at each connection that is made.
  void register_looking(const std::function<void()>& action) {
    Scripts scripts = without_threads();
    scripts.connect = noting(action);
    const ScriptedCalls calls(scripts);
    register_client();
  }
};

TEST_F(Registration, RegistersUnderTheModelNameAndTellsEvent1) {
  register_client();
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
  EXPECT_EQ(1, g_aaa_client_cb.aaa_id);
  EXPECT_STREQ("test", g_aaa_client_cb.model_name);
  EXPECT_THAT(client_events(), ElementsAre(1));
  EXPECT_EQ((std::vector<aaa_sim::ClientName>{{"test", getpid()}}), sim_.clients());
}

TEST_F(Registration, ANullRecordIsRefused) {
  const OpenGate gate;
  EXPECT_EQ(-1, aaa_svr_reg(nullptr));
  EXPECT_THAT(log_.messages(), ElementsAre("invalid args reg_info((nil))\r\n"));
  EXPECT_EQ("[%5d][%14.14s][%30.30s] invalid args reg_info(%p)\r\n", log_.lines().front().format);
  EXPECT_THAT(log_.functions(), ElementsAre("aaa_svr_reg"));
}

TEST_F(Registration, AnEmptyModelNameIsRefusedWithoutALine) {
  const OpenGate gate;
  test::set_model_name("before");
  const reg_info info = client("");
  EXPECT_EQ(-1, aaa_svr_reg(&info));
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_STREQ("before", g_aaa_client_cb.model_name);
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(Registration, AModelNameWithoutEndIsStoredAsItsFirst63Characters) {
  reg_info info = client();
  std::memset(info.model_name, 'm', sizeof info.model_name);
  register_client(info);
  EXPECT_EQ(std::string(63, 'm'), g_aaa_client_cb.model_name);
  EXPECT_EQ('\0', g_aaa_client_cb.model_name[63]);
}

TEST_F(Registration, EveryCallbackGoesToItsField) {
  register_quietly(with_all_callbacks(client()));
  EXPECT_EQ(ordinary_numbers(), ordinary_callbacks());
  EXPECT_EQ(ldap_numbers(), ldap_callbacks());
  EXPECT_EQ(client().aaa_event_cb, g_aaa_client_cb.aaa_event_cb);
}

TEST_F(Registration, TheReservedCallbackIsNeverCalledAndOthersMayBeNull) {
  reg_info info = client();
  info.reserved_cb = [] { ADD_FAILURE() << "called"; };
  register_client(info);
  EXPECT_EQ(0, aaa_svr_dereg());
  info.aaa_event_cb = nullptr;
  register_client(info);
  EXPECT_EQ(0, aaa_svr_dereg());
}

TEST_F(Registration, ThePairOfDatagramSocketsIsMadeAndTheSendBufferInitialised) {
  const FreshMessageSockets fresh;
  g_send_buf_init = 0;
  aaalib_send_buf.header = {};
  register_quietly();
  EXPECT_TRUE(fresh.made());
  EXPECT_EQ(1u, g_send_buf_init);
  EXPECT_EQ(25u, aaalib_send_buf.header.type);
  EXPECT_EQ(0x01010101u, aaalib_send_buf.header.marker);
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(fresh.made());
}

TEST_F(Registration, TheHeartbeatClocksAndTheCoreAreSet) {
  aaalib_hbt_last_send = 5;
  aaalib_hbt_last_recv = 5;
  reg_info info = client();
  info.bind_core_id = 3;
  const std::uint32_t before = library_seconds();
  register_quietly(info);
  EXPECT_EQ(0u, aaalib_hbt_last_send);
  EXPECT_GE(aaalib_hbt_last_recv, before);
  EXPECT_LE(aaalib_hbt_last_recv, library_seconds());
  EXPECT_EQ(3, aaa::g_aaalib_bind_core_id);
}

TEST_F(Registration, TheOldIdIsForgottenBeforeTheExchangesAndTheCallbacksStoredAfterThem) {
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  std::int32_t id_while_connecting = 99;
  bool stored = true;
  register_looking([&] {
    id_while_connecting = g_aaa_client_cb.aaa_id;
    stored = g_aaa_client_cb.aaa_event_cb != nullptr;
  });
  EXPECT_EQ(0, id_while_connecting);
  EXPECT_FALSE(stored);
}

std::uint64_t slept_at_event;
bool lock_free_at_event;
const MovedClock* clock_at_event;

TEST_F(Registration, Event1FollowsASleepOf100MillisecondsWithoutTheLock) {
  const MovedClock clock;
  clock_at_event = &clock;
  lock_free_at_event = false;
  reg_info info = client();
  info.aaa_event_cb = [](std::uint32_t) {
    slept_at_event = clock_at_event->slept_us();
    lock_free_at_event = is_free(aaa_lib_lock);
    return 0;
  };
  register_quietly(info);
  EXPECT_EQ(1u, clock.sleeps());
  EXPECT_EQ(100000u, slept_at_event);
  EXPECT_TRUE(lock_free_at_event);
  g_aaa_client_cb.aaa_event_cb = nullptr;
}

TEST_F(Registration, TheLibraryLockIsHeldUntilTheThreadsAreStarted) {
  std::vector<bool> free;
  const auto look = [&] { free.push_back(is_free(aaa_lib_lock)); };
  const ScriptedCalls calls({.connect = noting(look), .pthread_create = [&] { return look(), 0; }});
  register_client();
  EXPECT_GE(free.size(), 3u);
  EXPECT_THAT(free, Each(false));
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(Registration, AFlushThreadIsStartedWhenAskedForAndADetachedReceiveThreadAlways) {
  for (const std::uint8_t use_send_buf : {std::uint8_t{0}, std::uint8_t{200}}) {
    reg_info info = client();
    info.use_send_buf = use_send_buf;
    register_client(info);
    ASSERT_NE(0u, aaa::g_receive_msg_tid);
    EXPECT_EQ(use_send_buf != 0, aaa::send_buffer_is_used());
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_getattr_np(aaa::g_receive_msg_tid, &attributes));
    int state = -1;
    pthread_attr_getdetachstate(&attributes, &state);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(PTHREAD_CREATE_DETACHED, state);
    EXPECT_EQ(0, aaa_svr_dereg());
  }
}

TEST_F(Registration, LocksThatCannotBeMadeDoNotStopIt) {
  aaa::g_mutex_init = 0;
  {
    Scripts scripts = without_threads();
    scripts.pthread_mutex_init = returning(EAGAIN);
    const ScriptedCalls calls(scripts);
    register_client();
  }
  EXPECT_EQ(0, aaa_lib_mutex_init());
}

TEST_F(Registration, WithoutAaadItSucceedsInState1WithoutSockets) {
  sim_.stop();
  register_unconnected();
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  EXPECT_EQ(0, aaa_is_alive());
}

TEST_F(Registration, ARefusalSucceedsInState1WithoutSockets) {
  answer_id(255);
  const OpenGate gate;
  register_unconnected();
  EXPECT_EQ(1u, log_.count("model test has been registered or tag is used up\r\n"));
  EXPECT_EQ(1u, log_.count("model test has already registered or is an illegal model.\r\n"));
}

TEST_F(Registration, AFailedEventSocketClosesBoth) {
  sim_.set_fault(Role::event, 0, Fault::close);
  register_unconnected();
  EXPECT_TRUE(sim_.wait_for_connections(0));
}

}  // namespace test::registration
