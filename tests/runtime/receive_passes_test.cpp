// How the receive thread waits for a message, reads it and hands it on.
#include <atomic>

#include "runtime/receive_test.h"

namespace test::receive_passes {

class ReceivePasses : public ReceiveTest {
 protected:
  WatchdogRecorder watchdog_;
};

TEST_F(ReceivePasses, EveryWaitIsForTheEventSocketAndFiveSecondsLong) {
  std::atomic<int> waits = 0;
  std::atomic<int> wrong = 0;
  const ScriptedCalls calls({.poll = [&](int fd, int timeout_ms) {
    ++waits;
    if (fd != event_socket() || timeout_ms != 5000) ++wrong;
    return std::nullopt;
  }});
  register_client();
  take_pass();
  EXPECT_TRUE(eventually([&] { return waits >= 2; }));
  EXPECT_EQ(0, wrong);
  stop_library();
}

TEST_F(ReceivePasses, AWaitThatRunsOutIsRepeated) {
  std::atomic<int> waits = 0;
  const ScriptedCalls calls({.poll = [&](int, int) -> std::optional<int> {
    if (++waits > 3) return std::nullopt;
    return 0;
  }});
  register_client();
  take_pass();
  EXPECT_GE(waits, 4);
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
  stop_library();
}

TEST_F(ReceivePasses, TheWatchdogIsFedAndASecondAfterAFailureAgain) {
  register_client();
  take_pass();
  clock_.advance(51);
  take_pass();
  take_pass();
  ASSERT_EQ(1u, watchdog_.count("reset"));
  for (const WatchdogCall& call : watchdog_.calls()) {
    EXPECT_EQ(getpid(), call.pid);
    EXPECT_EQ(receive_thread(), call.tid);
    EXPECT_EQ(60u, call.interval);
    EXPECT_EQ(10u, call.tolerance);
  }
  watchdog_.answer(-1, EIO);
  clock_.advance(51);
  for (int pass = 0; pass < 3; ++pass) {
    take_pass();
    clock_.advance(1);
  }
  take_pass();
  EXPECT_GE(watchdog_.count("reset"), 3u);
  EXPECT_EQ(1, aaa_is_alive());
}

// The uptime is a system call, and the passes are one for each message.
TEST_F(ReceivePasses, TheUptimeIsReadOnceASecond) {
  std::atomic<std::uint32_t> readings = 0;
  const ScriptedCalls calls({.sysinfo = noting([&] { ++readings; })});
  reg_info info = client();
  info.use_send_buf = 1;
  register_client(info);
  take_pass();
  readings = 0;
  const std::uint32_t first = library_seconds();
  for (int pass = 0; pass < 50; ++pass)
    take_pass();
  // The flush thread reads it, too.
  EXPECT_LE(readings, 2 * (library_seconds() - first + 1));
  stop_library();
}

TEST_F(ReceivePasses, MessagesArriveInOrderOnTheReceiveThread) {
  register_noting();
  const pid_t thread = receive_thread();
  for (std::uint32_t i = 0; i < 50; ++i)
    send(AAA_MSG_DEL_MSG_REQ, word_bytes({i, 2 * i, 3 * i}));
  ASSERT_TRUE(wait_for_notes(50));
  for (std::uint32_t i = 0; i < 50; ++i) {
    EXPECT_EQ("delete " + word_bytes({i, 2 * i, 3 * i}), notes.all()[i].told);
    EXPECT_EQ(thread, notes.all()[i].thread);
  }
}

TEST_F(ReceivePasses, AMessageInPiecesIsOneMessage) {
  register_noting();
  sim_.change([](Settings& settings) { settings.byte_wise = true; });
  send(AAA_MSG_DEL_MSG_REQ, word_bytes({1, 2, 3}));
  ASSERT_TRUE(wait_for_notes(1));
  EXPECT_THAT(noted(), ElementsAre("delete " + word_bytes({1, 2, 3})));
}

TEST_F(ReceivePasses, ABodyIsOneBlockFollowedByANulThatIsFreedAfterwards) {
  register_noting();
  const std::uint32_t before = live_blocks();
  send(AAA_MSG_NOTIFY_COA_REQ, std::string(720, '\xff'));
  take_pass();
  EXPECT_EQ("coa " + std::string(720, '\xff') + zeros(1), notes.all().at(0).told);
  EXPECT_EQ(before + 1, notes.all()[0].blocks);
  EXPECT_EQ(before, live_blocks());
}

TEST_F(ReceivePasses, AnEmptyBodyIsNull) {
  register_noting();
  const std::uint32_t before = live_blocks();
  send(AAA_MSG_GET_ONLINE_INFO);
  send(AAA_MSG_GET_ONLINE_INFO, "body");
  ASSERT_TRUE(wait_for_notes(2));
  EXPECT_EQ("online? " + zeros(8) + "null", notes.all()[0].told);
  EXPECT_EQ(before, notes.all()[0].blocks);
  EXPECT_EQ("online? " + zeros(8) + "body", notes.all()[1].told);
}

TEST_F(ReceivePasses, ACallbackMayUseTheRequestApi) {
  std::atomic<std::int32_t> result = 1;
  register_noting([&](const std::string&) {
    const std::uint32_t control[3] = {1, 2, 3};
    result = aaa_notify_ctrl_if_switch(control);
  });
  send(AAA_MSG_NOTIFY_COA_REQ, zeros(720));
  EXPECT_TRUE(eventually([&] { return result == 0; }));
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_INTERFACE_CONTROL)));
}

}  // namespace test::receive_passes
