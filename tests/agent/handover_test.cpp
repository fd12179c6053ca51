// A client that changes between agent mode and thread mode. When it registers in thread mode while
// the loop is inside one of its callbacks, the receive thread calls back only when that callback
// has returned.
#include <chrono>
#include <thread>

#include "agent/agent_client.h"
#include "runtime/send/library_threads.h"
#include "support/stopping_point.h"

namespace test::agent_handover {

class AgentHandover : public AgentTest {
 protected:
  static std::size_t notices() { return times_told(AAA_EVENT_METHOD_LISTS_CHANGED); }

  // A client inside whose callback for an event another thread registers anew. aaad then sends a
  // notice to the new receive thread.
  reg_info client_that_hands_over_at(std::uint32_t event) {
    return client_that_at(event, [this] {
      std::thread([this] {
        EXPECT_EQ(0, aaa_svr_dereg());
        aaad_returns();
        register_client();
      }).join();
      told_ = notices();
      nudge();
      EXPECT_FALSE(
          eventually([this] { return notices() > told_; }, std::chrono::milliseconds(300)));
    });
  }
  void expect_notice() { EXPECT_TRUE(wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED, told_ + 1)); }

 private:
  std::size_t told_ = 0;
};

TEST_F(AgentHandover, WaitsForTheEventOfTheFirstConnection) {
  init(client_that_hands_over_at(AAA_EVENT_REGISTERED));
  run_and_expect(0, "aaa-connect");
  expect_notice();
}

TEST_F(AgentHandover, WaitsForTheEventOfALoss) {
  init_and_connect(client_that_hands_over_at(AAA_EVENT_CONNECTION_LOST));
  lose_aaad();
  run_and_expect(0, "aaa-reconnect");
  expect_notice();
}

TEST_F(AgentHandover, WaitsForTheCallbackOfAMessage) {
  init_and_connect(client_that_hands_over_at(AAA_EVENT_METHOD_LISTS_CHANGED));
  deliver(AAA_MSG_MLIST_CHANGE);
  expect_notice();
}

TEST_F(AgentHandover, AThreadThatHasDeregisteredWithoutAaadAndNotEndedYetIsNoObstacle) {
  static StoppingPoint callback;
  callback.reset();
  reg_info info = client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event == AAA_EVENT_CONNECTION_LOST) callback.stop();
    return 0;
  };
  register_client(info);
  set_listening(false);
  sim_.close_connections();
  EXPECT_TRUE(callback.is_reached());
  EXPECT_EQ(0, aaa_svr_dereg());
  init();
  expect_journal({"add aaa-connect"});
  callback.go_on();
  EXPECT_TRUE(receive_thread_is_gone());
  aaad_returns();
  run("aaa-connect");
  expect_steady();
}

// The first turns of a process whose library has not yet started a thread.
TEST(TaskTurn, OfASecondLoopIsWaitedFor) {
  const aaa::TaskTurn of_this_loop;
  std::thread([] {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(aaa::TaskTurn());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(90));
  }).join();
}

}  // namespace test::agent_handover
