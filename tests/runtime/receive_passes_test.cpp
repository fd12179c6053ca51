// How the receive thread waits for a message, reads it and hands it on.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <thread>

#include "bytes.h"
#include "log_lines.h"
#include "support/registered_test.h"

namespace test {
namespace {

// What callbacks were told, on which thread, and with how many blocks of the library alive.
struct Told {
  Bytes body;
  pid_t thread;
  std::uint32_t blocks;
};
std::mutex told_lock;
std::vector<Told> told;

void take_note(const Bytes& body) {
  const std::lock_guard<std::mutex> hold(told_lock);
  told.push_back({body, gettid(), live_blocks()});
}
std::vector<Told> all_told() {
  const std::lock_guard<std::mutex> hold(told_lock);
  return told;
}
bool wait_until_told(std::size_t times) {
  return eventually([times] { return all_told().size() >= times; });
}

class ReceivePasses : public RegisteredTest {
 protected:
  void SetUp() override {
    RegisteredTest::SetUp();
    told.clear();
  }
  static reg_info noting_client() {
    reg_info info = client();
    info.del_msg_req_cb = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
      take_note(words({a, b, c}));
    };
    info.notify_coa_req_cb = [](const void* body) { take_note(bytes_of(body, 721)); };
    info.get_online_info_cb = [](void*, const void* body) {
      take_note(body == nullptr ? text("null") : text("body"));
    };
    return info;
  }
};

TEST_F(ReceivePasses, EveryWaitIsForTheEventSocketAndFiveSecondsLong) {
  std::atomic<int> waits = 0;
  std::atomic<int> wrong = 0;
  Scripts scripts;
  scripts.poll = [&](int fd, int timeout_ms) {
    ++waits;
    if (fd != event_socket() || timeout_ms != 5000) ++wrong;
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  register_client();
  take_pass();
  EXPECT_TRUE(eventually([&] { return waits >= 2; }));
  EXPECT_EQ(0, wrong);
  stop_library();
}

TEST_F(ReceivePasses, TheWatchdogIsFedInEveryPass) {
  const WatchdogRecorder watchdog;
  register_client();
  take_pass();
  clock_.advance(51);
  take_pass();
  take_pass();
  ASSERT_EQ(1u, watchdog.count("reset"));
  for (const WatchdogCall& call : watchdog.calls()) {
    EXPECT_EQ(getpid(), call.pid);
    EXPECT_EQ(receive_thread(), call.tid);
    EXPECT_EQ(60u, call.interval);
    EXPECT_EQ(10u, call.tolerance);
  }
}

TEST_F(ReceivePasses, AFailedResetIsTriedAgainInTheNextPass) {
  WatchdogRecorder watchdog;
  register_client();
  take_pass();
  watchdog.answer(-1, EIO);
  clock_.advance(51);
  take_pass();
  take_pass();
  take_pass();
  EXPECT_GE(watchdog.count("reset"), 2u);
  EXPECT_EQ(1, aaa_is_alive());
}

TEST_F(ReceivePasses, MessagesArriveInOrderOnTheReceiveThread) {
  register_client(noting_client());
  const pid_t thread = receive_thread();
  for (std::uint32_t i = 0; i < 50; ++i)
    send(AAA_MSG_DEL_MSG_REQ, words({i, 2 * i, 3 * i}));
  ASSERT_TRUE(wait_until_told(50));
  for (std::uint32_t i = 0; i < 50; ++i) {
    EXPECT_EQ(words({i, 2 * i, 3 * i}), all_told()[i].body);
    EXPECT_EQ(thread, all_told()[i].thread);
  }
}

TEST_F(ReceivePasses, AMessageInPiecesIsOneMessage) {
  register_client(noting_client());
  sim_.change([](Settings& settings) { settings.byte_wise = true; });
  send(AAA_MSG_DEL_MSG_REQ, words({1, 2, 3}));
  ASSERT_TRUE(wait_until_told(1));
  EXPECT_EQ(words({1, 2, 3}), all_told()[0].body);
  EXPECT_EQ(1u, all_told().size());
}

TEST_F(ReceivePasses, ABodyIsFollowedByANul) {
  register_client(noting_client());
  send(AAA_MSG_NOTIFY_COA_REQ, Bytes(720, 0xff));
  ASSERT_TRUE(wait_until_told(1));
  EXPECT_EQ(Bytes(720, 0xff) + Bytes(1, 0), all_told()[0].body);
}

TEST_F(ReceivePasses, ABodyIsOneBlockThatIsFreedAfterwards) {
  register_client(noting_client());
  take_pass();
  const std::uint32_t before = live_blocks();
  send(AAA_MSG_NOTIFY_COA_REQ, Bytes(720, 0));
  take_pass();
  EXPECT_EQ(before + 1, all_told().at(0).blocks);
  EXPECT_EQ(before, live_blocks());
}

TEST_F(ReceivePasses, AnEmptyBodyIsNull) {
  register_client(noting_client());
  take_pass();
  const std::uint32_t before = live_blocks();
  send(AAA_MSG_GET_ONLINE_INFO);
  send(AAA_MSG_GET_ONLINE_INFO, Bytes(1, 0));
  ASSERT_TRUE(wait_until_told(2));
  EXPECT_EQ(text("null"), all_told()[0].body);
  EXPECT_EQ(before, all_told()[0].blocks);
  EXPECT_EQ(text("body"), all_told()[1].body);
}

TEST_F(ReceivePasses, AnInterruptedWaitIsRepeatedWithoutALine) {
  const LogCapture log;
  open_gate_for_clients();
  const ScriptedCalls calls(next_wait_fails(EINTR));
  register_client();
  take_pass();
  EXPECT_EQ(0u, log.count("select error! errno:4.\r\n"));
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(ReceivePasses, AWaitThatRunsOutIsRepeated) {
  std::atomic<int> waits = 0;
  Scripts scripts;
  scripts.poll = [&](int, int) -> std::optional<int> {
    if (++waits > 3) return std::nullopt;
    return 0;
  };
  const ScriptedCalls calls(scripts);
  register_client();
  take_pass();
  EXPECT_GE(waits, 4);
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
  stop_library();
}

TEST_F(ReceivePasses, ACallbackMayTakeItsTimeAndUseTheRequestApi) {
  reg_info info = noting_client();
  info.notify_coa_req_cb = [](const void*) {
    const std::uint32_t control[3] = {1, 2, 3};
    take_note(aaa_notify_ctrl_if_switch(control) == 0 ? text("sent") : text("refused"));
  };
  register_client(info);
  send(AAA_MSG_NOTIFY_COA_REQ, Bytes(720, 0));
  ASSERT_TRUE(wait_until_told(1));
  EXPECT_EQ(text("sent"), all_told()[0].body);
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_INTERFACE_CONTROL)));
}

}  // namespace
}  // namespace test
