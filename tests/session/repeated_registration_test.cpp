// Registering while registered, at once, and again.
#include "session/session_test.h"

namespace test::repeated_registration {

class RepeatedRegistration : public SessionTest {
 protected:
  // A second call, which must say that there is a registration and do nothing but what this checks.
  static void register_again(const reg_info& info = client()) {
    const OpenLog log;
    EXPECT_EQ(0, aaa_svr_reg(&info));
    EXPECT_THAT(log.messages(), ElementsAre("already registered!\r\n"));
    EXPECT_THAT(log.functions(), ElementsAre("aaa_svr_reg"));
  }
};

TEST_F(RepeatedRegistration, ASecondCallReplacesTheCallbacksAndTheModelName) {
  register_quietly(with_all_callbacks(client(), 0x1000));
  register_again(with_all_callbacks(client("second"), 0x2000));
  EXPECT_STREQ("second", g_aaa_client_cb.model_name);
  EXPECT_EQ(ordinary_numbers(0x2000), ordinary_callbacks());
  EXPECT_EQ(ldap_numbers(0x2000), ldap_callbacks());
  reg_info bare = {};
  bare.model_name[0] = 'x';
  register_again(bare);
  EXPECT_EQ(no_ordinary_callbacks, ordinary_callbacks());
  EXPECT_EQ(std::vector<std::uintptr_t>(2, 0), ldap_callbacks());
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
}

TEST_F(RepeatedRegistration, ASecondCallMakesNoConnectionAndTellsNoEvent) {
  register_client();
  const std::int32_t sync_fd = g_aaa_client_cb.sync_fd;
  const std::int32_t async_fd = g_aaa_client_cb.async_fd;
  const pthread_t thread = aaa::load(aaa::g_receive_msg_tid);
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(async_fd, g_aaa_client_cb.async_fd);
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_TRUE(pthread_equal(thread, aaa::load(aaa::g_receive_msg_tid)));
  EXPECT_THAT(client_events(), ElementsAre(1));
}

TEST_F(RepeatedRegistration, ASecondCallStartsNoThreadIgnoresTheCoreAndDoesNotSleep) {
  reg_info info = client();
  info.bind_core_id = 0;
  register_quietly(info);
  const ScriptedCalls calls({.pthread_create = unwanted()});
  const MovedClock clock;
  info.use_send_buf = 1;
  info.bind_core_id = 2;
  register_again(info);
  EXPECT_EQ(0u, clock.sleeps());
  EXPECT_EQ(0, aaa::g_aaalib_bind_core_id);
}

TEST_F(RepeatedRegistration, AnyStateButNotRegisteredIsRegistered) {
  for (const std::int32_t state : {2, 3, 4, 5}) {
    SCOPED_TRACE(state);
    aaa::store(g_aaa_client_cb.reg_state, state);
    register_again();
  }
  aaa::store(g_aaa_client_cb.reg_state, 1);
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(RepeatedRegistration, TwoOpenSocketsAreRegisteredWhateverTheStateAndOneIsNot) {
  register_quietly();
  aaa::store(g_aaa_client_cb.reg_state, 1);
  register_again();
  ::close(g_aaa_client_cb.async_fd);
  aaa::store(g_aaa_client_cb.async_fd, -1);
  register_quietly();
  EXPECT_EQ(3u, sim_.accepted_connections());
}

TEST_F(RepeatedRegistration, AReceiveThreadThatIsStillTryingIsRegistered) {
  sim_.stop();
  MovedClock clock;
  clock.shorten_sleeps();
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  const OpenLog log;
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_THAT(log.messages(), Contains("already registered!\r\n"));
  EXPECT_THAT(client_events(), ElementsAre(1));
}

TEST_F(RepeatedRegistration, AfterDeregistrationItConnectsFromScratch) {
  register_client();
  EXPECT_EQ(0, aaa_svr_dereg());
  register_client(client("again"));
  EXPECT_EQ(4u, sim_.accepted_connections());
  EXPECT_STREQ("again", g_aaa_client_cb.model_name);
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  EXPECT_EQ(1, aaa_is_alive());
}

}  // namespace test::repeated_registration
