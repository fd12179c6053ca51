// The receive thread of a client that has registered anew inside a callback, which still runs:
// until that has returned the thread reads no message and raises no event.
#include <atomic>

#include "runtime/receive_test.h"
#include "runtime/send/library_threads.h"

namespace test::waiting_thread {

class WaitingThread : public ReceiveTest {
 protected:
  void TearDown() override {
    let_go_ = true;
    ReceiveTest::TearDown();
  }

  void register_anew_in_callback(bool aaad_is_there = true) {
    notes.then = [=, this](const std::string&) {
      const reg_info again = client();
      EXPECT_EQ(0, aaa_svr_dereg());
      set_listening(aaad_is_there);
      EXPECT_EQ(0, aaa_svr_reg(&again));
      inside_ = true;
      EXPECT_TRUE(eventually([this] { return let_go_.load(); }, std::chrono::seconds(20)));
    };
    register_client(noting_client());
    send(AAA_MSG_NOTIFY_DEL_MSG, zeros(560));
    ASSERT_TRUE(eventually([this] { return inside_.load(); }));
  }

  // Moves the clock and wakes the thread, until the condition holds.
  template <class Condition>
  bool while_time_passes(Condition condition) {
    return eventually([&] {
      clock_.advance(10);
      aaa::thread_will_start(aaa::ThreadRole::flush);
      aaa::thread_has_ended(aaa::ThreadRole::flush);
      return condition();
    });
  }

  void lose_silent_aaad() {
    set_listening(false);
    sim_.close_connections();
    EXPECT_TRUE(while_time_passes([] { return state() == AAA_REG_LOST; }));
  }

  std::atomic<bool> inside_ = false;
  std::atomic<bool> let_go_ = false;
};

TEST_F(WaitingThread, TellsNoLossToAClientThatHasDeregisteredMeanwhile) {
  register_anew_in_callback();
  lose_silent_aaad();
  EXPECT_EQ(0, aaa_svr_dereg());
  const std::size_t told = times_told(AAA_EVENT_CONNECTION_LOST);
  let_go_ = true;
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(told, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(WaitingThread, FeedsTheWatchdogBeforeItTellsALoss) {
  const WatchdogRecorder watchdog;
  register_anew_in_callback();
  lose_silent_aaad();
  const std::size_t fed = watchdog.count("reset");
  EXPECT_TRUE(while_time_passes([&] { return watchdog.count("reset") > fed + 1; }));
}

TEST_F(WaitingThread, SendsHeartbeatsBeforeItTellsThatItHasRegistered) {
  register_anew_in_callback(false);
  set_listening(true);
  EXPECT_TRUE(eventually([] { return state() == AAA_REG_REGISTERED; }));
  const std::size_t before = heartbeats();
  EXPECT_TRUE(while_time_passes([&] { return heartbeats() > before + 1; }));
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

}  // namespace test::waiting_thread
