// Registering while registered, at once, and again.
#include <thread>

#include "session/session_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RepeatedRegistration : public test::SessionTest {
 protected:
  // A second call, which must do nothing but what this checks; returns its lines.
  std::vector<std::string> register_again(const reg_info& info) {
    const test::OpenGate gate;
    const test::LogCapture log;
    EXPECT_EQ(0, aaa_svr_reg(&info));
    functions_.clear();
    for (const test::LogLine& line : log.lines())
      functions_.push_back(line.function());
    return log.messages();
  }

  std::vector<std::string> functions_;
};

TEST_F(RepeatedRegistration, ASecondCallSaysSo) {
  register_quietly();
  EXPECT_THAT(register_again(test::client()), ElementsAre("already registered!\r\n"));
  EXPECT_THAT(functions_, ElementsAre("aaa_svr_reg"));
}

TEST_F(RepeatedRegistration, ASecondCallReplacesTheCallbacks) {
  register_quietly(test::with_all_callbacks(test::client(), 0x1000));
  register_again(test::with_all_callbacks(test::client(), 0x2000));
  EXPECT_EQ(test::ordinary_numbers(0x2000), test::ordinary_callbacks());
  EXPECT_EQ(test::ldap_numbers(0x2000), test::ldap_callbacks());
  reg_info bare = {};
  bare.model_name[0] = 'x';
  register_again(bare);
  EXPECT_EQ(std::vector<std::uintptr_t>(13, 0), test::ordinary_callbacks());
  EXPECT_EQ(std::vector<std::uintptr_t>(2, 0), test::ldap_callbacks());
  EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
}

TEST_F(RepeatedRegistration, ASecondCallReplacesTheModelName) {
  register_quietly(test::client("first"));
  register_again(test::client("second"));
  EXPECT_STREQ("second", g_aaa_client_cb.model_name);
}

TEST_F(RepeatedRegistration, ASecondCallMakesNoConnectionAndTellsNoEvent) {
  register_client();
  const std::int32_t sync_fd = g_aaa_client_cb.sync_fd;
  const std::int32_t async_fd = g_aaa_client_cb.async_fd;
  const pthread_t thread = aaa::load(aaa::g_receive_msg_tid);
  register_again(test::client());
  EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(async_fd, g_aaa_client_cb.async_fd);
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_TRUE(pthread_equal(thread, aaa::load(aaa::g_receive_msg_tid)));
  EXPECT_THAT(test::client_events(), ElementsAre(1));
}

TEST_F(RepeatedRegistration, ASecondCallStartsNoThreadAndDoesNotSleep) {
  register_quietly();
  const test::ScriptedCalls calls({.pthread_create = [] { return ADD_FAILURE(), 0; }});
  const test::MovedClock clock;
  reg_info info = test::client();
  info.use_send_buf = 1;
  register_again(info);
  EXPECT_EQ(0u, clock.sleeps());
}

TEST_F(RepeatedRegistration, ASecondCallIgnoresTheCore) {
  reg_info info = test::client();
  info.bind_core_id = 0;
  register_quietly(info);
  info.bind_core_id = 2;
  register_again(info);
  EXPECT_EQ(0, aaa::g_aaalib_bind_core_id);
}

TEST_F(RepeatedRegistration, AnyStateButNotRegisteredIsRegistered) {
  for (const std::int32_t state : {2, 3, 4, 5}) {
    aaa::store(g_aaa_client_cb.reg_state, state);
    EXPECT_THAT(register_again(test::client()), ElementsAre("already registered!\r\n")) << state;
  }
  aaa::store(g_aaa_client_cb.reg_state, 1);
  EXPECT_EQ(0u, sim_.accepted_connections());
}

TEST_F(RepeatedRegistration, TwoOpenSocketsAreRegisteredWhateverTheState) {
  register_quietly();
  aaa::store(g_aaa_client_cb.reg_state, 1);
  EXPECT_THAT(register_again(test::client()), ElementsAre("already registered!\r\n"));
  aaa::store(g_aaa_client_cb.reg_state, 4);
}

TEST_F(RepeatedRegistration, OneOpenSocketIsNotRegistered) {
  register_quietly();
  ::close(g_aaa_client_cb.async_fd);
  aaa::store(g_aaa_client_cb.async_fd, -1);
  aaa::store(g_aaa_client_cb.reg_state, 1);
  const test::ScriptedCalls calls(test::without_threads());
  const reg_info info = test::client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(3u, sim_.accepted_connections());
}

TEST_F(RepeatedRegistration, AReceiveThreadThatIsStillTryingIsRegistered) {
  sim_.stop();
  test::MovedClock clock;
  clock.shorten_sleeps();
  const reg_info info = test::client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  const std::vector<std::string> lines = register_again(info);
  EXPECT_THAT(lines, testing::Contains("already registered!\r\n"));
  EXPECT_THAT(test::client_events(), ElementsAre(1));
}

TEST_F(RepeatedRegistration, TwoThreadsThatComeTogetherGetOneRegistration) {
  const reg_info info = test::client();
  std::int32_t first_result = -1;
  std::int32_t second_result = -1;
  std::thread first([&] { first_result = aaa_svr_reg(&info); });
  std::thread second([&] { second_result = aaa_svr_reg(&info); });
  first.join();
  second.join();
  EXPECT_EQ(0, first_result);
  EXPECT_EQ(0, second_result);
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_THAT(test::client_events(), ElementsAre(1));
  EXPECT_EQ(1, aaa_is_alive());
}

TEST_F(RepeatedRegistration, AfterDeregistrationItConnectsFromScratch) {
  register_client();
  EXPECT_EQ(0, aaa_svr_dereg());
  register_client(test::client("again"));
  EXPECT_EQ(4u, sim_.accepted_connections());
  EXPECT_STREQ("again", g_aaa_client_cb.model_name);
  EXPECT_THAT(test::client_events(), ElementsAre(1, 0, 1));
  EXPECT_EQ(1, aaa_is_alive());
}

TEST_F(RepeatedRegistration, ManyTimesInARowLeavesNothingBehind) {
  test::MovedClock clock;
  clock.shorten_sleeps();
  reg_info info = test::client();
  info.use_send_buf = 1;
  for (int i = 0; i < 20; ++i) {
    register_client(info);
    ASSERT_EQ(0, aaa_svr_dereg());
  }
  EXPECT_EQ(40u, sim_.accepted_connections());
}

}  // namespace
