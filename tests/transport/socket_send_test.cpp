// aaa_msg_send: writing a buffer with a deadline.
#include "transport/framing.h"
#include "transport/pair_test.h"

namespace test::socket_send {

constexpr int kWaitAll = 0x100;

class SocketSend : public PairTest {
 protected:
  std::int32_t send(const std::string& bytes = "0123456789") {
    return aaa_msg_send(pair_.own(), bytes.data(), static_cast<std::int32_t>(bytes.size()),
                        kWaitAll);
  }

  // Answers the n-th call, from 1 on, as `answer(n, size)` says, and notes what was written.
  using Answer = std::function<ssize_t(int call, ssize_t size)>;
  Scripts answering(Answer answer) {
    return {.send = [this, answer](int, const void* data, std::size_t size, int flags) {
      flags_ = flags;
      const ssize_t sent = answer(++calls_, static_cast<ssize_t>(size));
      if (sent > 0) written_.append(static_cast<const char*>(data), static_cast<std::size_t>(sent));
      return sent;
    }};
  }
  void expect_counted(std::uint32_t errors, std::uint32_t again, std::uint32_t last_errno) const {
    EXPECT_EQ(errors, g_aaa_msg_stat.send_error_times);
    EXPECT_EQ(again, g_aaa_msg_stat.send_again_times);
    EXPECT_EQ(last_errno, g_aaa_msg_stat.last_error_errno);
    EXPECT_EQ(static_cast<std::uint32_t>(pair_.own()), g_aaa_msg_stat.last_error_socket);
  }

  int calls_ = 0;
  int flags_ = 0;
  std::string written_;
};

TEST_F(SocketSend, WritesEveryByte) {
  EXPECT_EQ(0, send("hello"));
  EXPECT_EQ("hello", pair_.peer_reads(5));
  EXPECT_EQ(0u, pair_.waiting_for_peer());
}

TEST_F(SocketSend, BadArgumentsGive22AndWriteNothing) {
  const ScriptedCalls calls({.send = unwanted()});
  EXPECT_EQ(22, aaa_msg_send(-1, "x", 1, kWaitAll));
  EXPECT_EQ(22, aaa_msg_send(pair_.own(), "x", 0, kWaitAll));
  EXPECT_EQ(22, aaa_msg_send(pair_.own(), "x", -1, kWaitAll));
  EXPECT_EQ(22, aaa_msg_send(pair_.own(), nullptr, 1, kWaitAll));
}

TEST_F(SocketSend, PassesTheFlagsAndAsksForNoSignal) {
  const ScriptedCalls calls(answering([](int, ssize_t size) { return size; }));
  EXPECT_EQ(0, send());
  EXPECT_EQ(kWaitAll | MSG_NOSIGNAL, flags_);
}

TEST_F(SocketSend, AShortWriteIsContinuedWhereItEnded) {
  const ScriptedCalls calls(
      answering([](int, ssize_t size) { return std::min<ssize_t>(size, 3); }));
  EXPECT_EQ(0, send("0123456789"));
  EXPECT_EQ("0123456789", written_);
  EXPECT_EQ(4, calls_);
}

TEST_F(SocketSend, AWriteOfNothingIsRepeatedAndCountsAsNoFailure) {
  const ScriptedCalls calls(answering([](int call, ssize_t size) { return call < 3 ? 0 : size; }));
  EXPECT_EQ(0, send("abc"));
  EXPECT_EQ("abc", written_);
  EXPECT_EQ(0u, g_aaa_msg_stat.send_again_times);
  EXPECT_EQ(0u, clock_.sleeps());
}

class TemporaryFailure : public SocketSend, public testing::WithParamInterface<int> {
 protected:
  TemporaryFailure() { clock_.shorten_sleeps(); }

  // Fails at all calls but the n-th, which writes what it is given.
  Scripts failing_until(int n) {
    return answering([n](int call, ssize_t size) { return call == n ? size : fails(GetParam()); });
  }
};

TEST_P(TemporaryFailure, IsCountedAndTriedAgainAfter100Milliseconds) {
  const ScriptedCalls calls(failing_until(2));
  EXPECT_EQ(0, send());
  EXPECT_EQ(2, calls_);
  EXPECT_EQ(1u, clock_.sleeps());
  EXPECT_EQ(100000u, clock_.slept_us());
  expect_counted(0, 1, static_cast<std::uint32_t>(GetParam()));
}

TEST_P(TemporaryFailure, FiftyTimesDiscardsTheMessageAfter49Sleeps) {
  const ScriptedCalls calls(failing_until(0));
  EXPECT_EQ(GetParam(), send());
  EXPECT_EQ(50, calls_);
  EXPECT_EQ(49u, clock_.sleeps());
  EXPECT_EQ(4900000u, clock_.slept_us());
  expect_counted(0, 50, static_cast<std::uint32_t>(GetParam()));
  EXPECT_EQ(1u, g_aaa_msg_stat.resend_discard_num);
}

TEST_P(TemporaryFailure, FortyNineTimesIsStillSurvived) {
  const ScriptedCalls calls(failing_until(50));
  EXPECT_EQ(0, send());
  EXPECT_EQ(0u, g_aaa_msg_stat.resend_discard_num);
}

TEST_P(TemporaryFailure, IsCountedOverTheWholeBufferAlsoWhenBytesGoBetween) {
  const ScriptedCalls calls(
      answering([](int call, ssize_t) { return call % 2 == 0 ? 1 : fails(GetParam()); }));
  EXPECT_EQ(GetParam(), send(std::string(200, 'x')));
  EXPECT_EQ(99, calls_);
  EXPECT_EQ(49u, written_.size());
}

INSTANTIATE_TEST_SUITE_P(SocketSend, TemporaryFailure, testing::Values(EINTR, EAGAIN),
                         [](const auto& kind) { return kind.param == EINTR ? "EINTR" : "EAGAIN"; });

TEST_F(SocketSend, AnyOtherFailureIsReturnedAtOnceAndCounted) {
  const ScriptedCalls calls(answering([](int, ssize_t) { return fails(ENOBUFS); }));
  EXPECT_EQ(105, send());
  EXPECT_EQ(1, calls_);
  EXPECT_EQ(0u, clock_.sleeps());
  expect_counted(1, 0, 105);
}

TEST_F(SocketSend, AClosedPeerGives32AndNoSignal) {
  pair_.close_peer();
  EXPECT_EQ(32, send());
  EXPECT_EQ(1u, g_aaa_msg_stat.send_error_times);
}

// A byte each time, so many seconds after the last one, with an errno left over.
struct LateWrites {
  int seconds;
  int left_errno;
  int writes;
};

TEST_F(SocketSend, GivesUpWhenMoreThanNineSecondsHavePassedAndNeverReportsSuccess) {
  for (const LateWrites& late : {LateWrites{1, EAGAIN, 10}, {10, 0, 1}}) {
    calls_ = 0;
    const ScriptedCalls calls(answering([&](int, ssize_t) {
      clock_.advance(late.seconds);
      errno = late.left_errno;
      return 1;
    }));
    enter_second();
    EXPECT_EQ(11, send(std::string(100, 'x'))) << late.seconds;
    EXPECT_EQ(late.writes, calls_) << late.seconds;
  }
}

TEST_F(SocketSend, TestsTheDeadlineOnlyBetweenCalls) {
  const ScriptedCalls calls(
      answering([this](int, ssize_t size) { return clock_.advance(60), size; }));
  EXPECT_EQ(0, send());
}

}  // namespace test::socket_send
