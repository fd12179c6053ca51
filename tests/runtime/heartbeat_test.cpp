// The heartbeat in both directions.
#include "runtime/receive/recovery.h"

#include "support/registered_test.h"

namespace test::heartbeat {

std::uint32_t last_send() {
  return aaa::load(aaalib_hbt_last_send);
}
std::uint32_t last_recv() {
  return aaa::load(aaalib_hbt_last_recv);
}
// The second as the library sees it, allowing for the time that a test takes.
void expect_now(std::uint32_t second) {
  EXPECT_LE(second, library_seconds());
  EXPECT_GE(second + 5, library_seconds());
}

class Heartbeat : public RegisteredTest {
 protected:
  void register_with_id(std::uint32_t id, std::uint32_t limit) {
    sim_.change([=](Settings& settings) {
      settings.aaa_id = id;
      settings.status.aaa_id_limit = limit;
    });
    register_client();
  }
  bool wait_for_heartbeat(std::size_t n, std::chrono::seconds patience = std::chrono::seconds(5)) {
    return sim_.wait_for_message(received(AAA_MSG_HEARTBEAT), patience, n - 1).has_value();
  }
};

TEST_F(Heartbeat, TheFirstOneGoesOutInTheFirstPass) {
  register_client();
  EXPECT_EQ(0u, last_send());
  expect_now(last_recv());
  take_pass();
  const auto heartbeat = sim_.wait_for_message(received(AAA_MSG_HEARTBEAT));
  ASSERT_TRUE(heartbeat);
  EXPECT_EQ(Role::request, heartbeat->role);
  EXPECT_EQ(word_bytes({0x01010101, 0, 132, 0}), bytes_of(*heartbeat));
  expect_now(last_send());
}

TEST_F(Heartbeat, TheNextOneFollowsAfterMoreThanSixtySeconds) {
  register_client();
  take_pass();
  const std::uint32_t first = last_send();
  clock_.advance(50);
  take_pass();
  EXPECT_EQ(first, last_send());
  clock_.advance(11);
  take_pass();
  EXPECT_LT(first + 60, last_send());
  EXPECT_TRUE(wait_for_heartbeat(2));
  EXPECT_EQ(2u, heartbeats());
}

TEST_F(Heartbeat, BothComparisonsAreStrict) {
  aaa::store(aaalib_hbt_last_send, 1000U);
  aaa::store(aaalib_hbt_last_recv, 1000U);
  EXPECT_FALSE(aaa::heartbeat_is_due(1060));
  EXPECT_TRUE(aaa::heartbeat_is_due(1061));
  EXPECT_FALSE(aaa::aaad_is_silent(1180));
  EXPECT_TRUE(aaa::aaad_is_silent(1181));
}

TEST_F(Heartbeat, ItGoesOutInPassesWithoutAMessage) {
  const ScriptedCalls calls({.poll = [](int, int) { return pause_in_script(), 0; }});
  register_client();
  EXPECT_TRUE(wait_for_heartbeat(1));
  clock_.advance(61);
  EXPECT_TRUE(wait_for_heartbeat(2));
  stop_library();
}

TEST_F(Heartbeat, ItGoesOutInAPassWhoseWaitWasInterrupted) {
  const ScriptedCalls calls(next_wait_fails(EINTR));
  register_client();
  EXPECT_TRUE(wait_for_heartbeat(1, std::chrono::seconds(2)));
}

TEST_F(Heartbeat, AFailedSendIsNotLookedAt) {
  register_client();
  {
    const ScriptedCalls calls({.send = failing(EPIPE)});
    take_pass();
  }
  expect_now(last_send());
  EXPECT_EQ(1, aaa_is_alive());
  EXPECT_EQ(0u, heartbeats());
}

TEST_F(Heartbeat, SilenceOf180SecondsIsALostConnection) {
  const LogCapture log;
  open_gate_for_clients();
  register_client();
  take_pass();
  clock_.advance(170);
  take_pass();
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
  clock_.advance(11);
  nudge();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  expect_line(log, "aaa_lib_thread", "aaalib heartbeat check fail!\r\n", receive_thread());
  EXPECT_EQ(1u, times_told(AAA_EVENT_CONNECTION_LOST));
  EXPECT_EQ(2u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED)) << "the message is not read";
}

TEST_F(Heartbeat, AfterSilenceBothClocksStartAnew) {
  register_client();
  take_pass();
  clock_.advance(500);
  nudge();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ(0u, last_send());
  expect_now(last_recv());
  take_pass();
  EXPECT_EQ(1u, times_told(AAA_EVENT_CONNECTION_LOST));
  EXPECT_TRUE(wait_for_heartbeat(2));
}

TEST_F(Heartbeat, HeartbeatsOfAaadKeepTheConnection) {
  register_client();
  for (int i = 0; i < 4; ++i) {
    clock_.advance(150);
    send(AAA_MSG_HEARTBEAT);
    take_pass();
    expect_now(last_recv());
  }
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
  EXPECT_EQ(1u, sim_.clients().size());
}

TEST_F(Heartbeat, OtherMessagesDoNotCountAsHeartbeats) {
  register_client();
  for (int i = 0; i < 3; ++i) {
    clock_.advance(55);
    take_pass();
  }
  clock_.advance(55);
  nudge();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

struct Ids {
  std::uint32_t id;
  std::uint32_t limit;
};

class HeartbeatWithoutValidId : public Heartbeat, public testing::WithParamInterface<Ids> {};

TEST_P(HeartbeatWithoutValidId, IsNeverSentAndSilenceIsNoLoss) {
  register_with_id(GetParam().id, GetParam().limit);
  aaa::store(aaalib_hbt_last_send, 7U);
  for (int i = 0; i < 3; ++i) {
    clock_.advance(500);
    take_pass();
    EXPECT_EQ(0u, last_send());
    expect_now(last_recv());
  }
  EXPECT_EQ(0u, heartbeats());
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
}

INSTANTIATE_TEST_SUITE_P(Limits, HeartbeatWithoutValidId,
                         testing::Values(Ids{0, 255}, Ids{10, 10}, Ids{11, 10}, Ids{1, 0},
                                         Ids{1, 0xffffffff}, Ids{0xfffffff0, 255}),
                         [](const auto& tested) {
                           return "Id" + std::to_string(tested.param.id) + "Limit" +
                                  std::to_string(tested.param.limit);
                         });

TEST_F(Heartbeat, TheHighestIdBelowTheLimitKeepsIt) {
  register_with_id(9, 10);
  take_pass();
  EXPECT_TRUE(wait_for_heartbeat(1));
}

}  // namespace test::heartbeat
