// Scheduling that the event library refuses: each caller sleeps 2 seconds and tries again.
#include <functional>
#include <thread>

#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/receive/heartbeat.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/lock_check.h"

namespace test {
namespace {

constexpr std::size_t kTimes = 3;

class Refusal : public AgentTest {
 protected:
  // Does `action` while the next tasks are refused. It must try until the last of them, which is
  // called `name` in the log, is taken.
  void expect_patience(const std::function<void()>& action, const std::string& name) {
    const OpenGate gate;
    const LogCapture log;
    const MovedClock pauses;
    loop_.refuse(kTimes, [] { EXPECT_TRUE(is_free(aaa_lib_lock)); });
    action();
    EXPECT_EQ(kTimes, loop_.refused());
    EXPECT_EQ(kTimes, log.count("Failed to add thread for aaa_lib_" + name + "\r\n"));
    EXPECT_EQ(kTimes, pauses.sleeps());
    EXPECT_EQ(kTimes * 2000000, pauses.slept_us());
  }
};

TEST_F(Refusal, OfTheFirstConnection) {
  expect_patience([this] { init(); }, "connect");
  EXPECT_EQ(0, run("aaa-connect"));
  expect_steady();
}

TEST_F(Refusal, OfTheReadAfterTheFirstConnection) {
  init();
  expect_patience([this] { EXPECT_EQ(0, run("aaa-connect")); }, "read");
  expect_steady();
}

TEST_F(Refusal, OfTheReconnectionAfterAFailedFirstConnection) {
  set_listening(false);
  init();
  expect_patience([this] { EXPECT_EQ(-1, run("aaa-connect")); }, "reconnect");
  expect_reconnecting();
}

TEST_F(Refusal, OfTheReadAfterAReconnection) {
  init_and_connect();
  lose_link();
  expect_patience([this] { EXPECT_EQ(0, run("aaa-reconnect")); }, "read");
  expect_steady();
}

TEST_F(Refusal, OfTheNextReconnection) {
  init_and_connect();
  lose_aaad();
  expect_patience([this] { EXPECT_EQ(-1, run("aaa-reconnect")); }, "reconnect");
  expect_reconnecting();
}

TEST_F(Refusal, OfTheNextRead) {
  init_and_connect();
  expect_patience([this] { deliver(AAA_MSG_MLIST_CHANGE); }, "read");
  expect_steady();
}

TEST_F(Refusal, OfTheReadAfterAMessageWithABody) {
  init_and_connect();
  expect_patience([this] { deliver(AAA_MSG_DEL_MSG_REQ, Bytes(12)); }, "read");
  expect_steady();
}

TEST_F(Refusal, OfTheReconnectionAfterALoss) {
  init_and_connect();
  expect_patience([this] { lose_link(); }, "reconnect");
  expect_reconnecting();
}

TEST_F(Refusal, OfTheNextHeartbeat) {
  init_and_connect();
  expect_patience([this] { run("aaa-heartbeat"); }, "heartbeat");
  expect_steady();
}

TEST_F(Refusal, OfTheNextHeartbeatWithoutAnId) {
  init_and_connect();
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  expect_patience([this] { run("aaa-heartbeat"); }, "heartbeat");
  expect_steady();
}

TEST_F(Refusal, OfTheReconnectionAfterASilence) {
  init_and_connect();
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 300);
  expect_patience([this] { run("aaa-heartbeat"); }, "reconnect");
  expect_reconnecting();
}

TEST_F(Refusal, OfTheHeartbeatBehindTheRead) {
  init();
  loop_.accept(1);
  expect_patience([this] { EXPECT_EQ(0, run("aaa-connect")); }, "heartbeat");
  expect_steady();
}

TEST_F(Refusal, OfTheHeartbeatBehindTheReadOfAReconnection) {
  init_and_connect();
  lose_link();
  loop_.accept(1);
  expect_patience([this] { EXPECT_EQ(0, run("aaa-reconnect")); }, "heartbeat");
  expect_steady();
}

TEST_F(Refusal, EndsWhenAnotherThreadDeregisters) {
  init_and_connect();
  loop_.refuse(1000, [this] {
    if (loop_.refused() == 3) std::thread(aaa_svr_dereg).join();
  });
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_EQ(3u, loop_.refused());
  loop_.refuse(0);
  EXPECT_EQ(nullptr, aaa::g_agent_read_ev);
}

}  // namespace
}  // namespace test
