// The receive thread takes several messages with one system call; what they do is as if it had
// read one by one.
#include <atomic>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "bytes.h"
#include "support/registered_test.h"
#include "support/watchdog_recorder.h"

namespace test {
namespace {

std::mutex ids_lock;
std::vector<std::uint32_t> told_ids;
std::function<void()> in_callback;

std::vector<std::uint32_t> all_ids() {
  const std::lock_guard<std::mutex> hold(ids_lock);
  return told_ids;
}

Bytes notice(std::uint32_t id) {
  return words({0x01010101, 0, AAA_MSG_DEL_MSG_REQ, 12, 0, 0, id});
}

class ReceiveAhead : public RegisteredTest {
 protected:
  void SetUp() override {
    RegisteredTest::SetUp();
    told_ids.clear();
  }
  static reg_info noting_client() {
    reg_info info = client();
    info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t id) {
      {
        const std::lock_guard<std::mutex> hold(ids_lock);
        told_ids.push_back(id);
      }
      in_callback();
    };
    return info;
  }
  void register_noting(std::function<void()> act = [] {}) {
    in_callback = std::move(act);
    register_client(noting_client());
    take_pass();
  }
  static bool wait_for_ids(std::size_t count) {
    return eventually([count] { return all_ids().size() >= count; });
  }
};

TEST_F(ReceiveAhead, ManyMessagesCostOneWaitAndOneRead) {
  register_noting();
  std::atomic<int> waits = 0;
  std::atomic<int> reads = 0;
  Scripts scripts;
  scripts.poll = [&](int fd, int timeout_ms) -> std::optional<int> {
    if (fd == event_socket() && timeout_ms == 5000) ++waits;
    return std::nullopt;
  };
  scripts.recv = [&](int fd, void*, std::size_t, int) -> std::optional<ssize_t> {
    if (fd == event_socket()) ++reads;
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  Bytes burst;
  std::vector<std::uint32_t> ids;
  for (std::uint32_t id = 1; id <= 100; id++) {
    burst = burst + notice(id);
    ids.push_back(id);
  }
  send_raw(burst);
  ASSERT_TRUE(wait_for_ids(100));
  EXPECT_EQ(ids, all_ids());
  EXPECT_EQ(1, reads);
  EXPECT_LE(waits, 2);
  stop_library();
}

TEST_F(ReceiveAhead, MessagesCutAnywhereArriveWhole) {
  register_noting();
  const Bytes both = notice(1) + notice(2);
  for (int cut = 1; cut < static_cast<int>(both.size()); cut++) {
    send_raw({both.begin(), both.begin() + cut});
    send_raw({both.begin() + cut, both.end()});
    ASSERT_TRUE(wait_for_ids(2 * static_cast<std::size_t>(cut))) << cut;
  }
}

TEST_F(ReceiveAhead, NothingBehindAWrongMarkerReachesTheNextConnection) {
  register_noting();
  send_raw(notice(1) + words({0, 0, AAA_MSG_MLIST_CHANGE, 0}) + notice(2) + notice(3));
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  send_raw(notice(4));
  ASSERT_TRUE(wait_for_ids(2));
  EXPECT_EQ((std::vector<std::uint32_t>{1, 4}), all_ids());
}

TEST_F(ReceiveAhead, AClientThatDeregistersInACallbackIsToldNothingMore) {
  register_noting([] { EXPECT_EQ(0, aaa_svr_dereg()); });
  send_raw(notice(1) + notice(2) + notice(3));
  ASSERT_TRUE(wait_for_ids(1));
  ASSERT_TRUE(eventually([this] { return receive_thread_is_gone(); }));
  EXPECT_EQ(1u, all_ids().size());
}

TEST_F(ReceiveAhead, ALinkLostBehindABurstIsNoticedAfterIt) {
  register_noting();
  send_raw(notice(1) + notice(2));
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ((std::vector<std::uint32_t>{1, 2}), all_ids());
}

TEST_F(ReceiveAhead, TheWatchdogIsFedAmongMessagesThatTakeLong) {
  const WatchdogRecorder watchdog;
  register_noting([this] { clock_.advance(51); });
  const std::size_t before = watchdog.count("reset");
  send_raw(notice(1) + notice(2) + notice(3));
  ASSERT_TRUE(wait_for_ids(3));
  take_pass();
  EXPECT_LE(before + 2, watchdog.count("reset"));
}

TEST_F(ReceiveAhead, TheHeartbeatIsCheckedBetweenMessages) {
  open_gate_for_clients();
  register_noting([this] { clock_.advance(181); });
  send_raw(notice(1) + notice(2));
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ((std::vector<std::uint32_t>{1}), all_ids());
}

}  // namespace
}  // namespace test
