// aaa_msg_send: writing a buffer with a deadline.
#include "transport/framing.h"
#include "transport/pair_test.h"

namespace {

using test::fails;
using test::ScriptedCalls;

constexpr int kWaitAll = 0x100;

class SocketSend : public test::PairTest {
 protected:
  std::int32_t send(const std::string& bytes = "0123456789") {
    return aaa_msg_send(pair_.own(), bytes.data(), static_cast<std::int32_t>(bytes.size()),
                        kWaitAll);
  }

  // Answers the n-th call, from 1 on, as `answer(n, size)` says, and notes what was written.
  using Answer = std::function<ssize_t(int call, std::size_t size)>;
  test::Scripts answering(Answer answer) {
    return {.send = [this, answer](int, const void* data, std::size_t size, int flags) {
      flags_ = flags;
      const ssize_t sent = answer(++calls_, size);
      if (sent > 0) written_.append(static_cast<const char*>(data), static_cast<std::size_t>(sent));
      return sent;
    }};
  }

  test::MovedClock clock_;
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
  const ScriptedCalls calls(answering([](int, std::size_t size) { return ssize_t(size); }));
  EXPECT_EQ(22, aaa_msg_send(-1, "x", 1, kWaitAll));
  EXPECT_EQ(22, aaa_msg_send(pair_.own(), "x", 0, kWaitAll));
  EXPECT_EQ(22, aaa_msg_send(pair_.own(), "x", -1, kWaitAll));
  EXPECT_EQ(22, aaa_msg_send(pair_.own(), nullptr, 1, kWaitAll));
  EXPECT_EQ(0, calls_);
}

TEST_F(SocketSend, PassesTheFlagsAndAsksForNoSignal) {
  const ScriptedCalls calls(answering([](int, std::size_t size) { return ssize_t(size); }));
  EXPECT_EQ(0, send());
  EXPECT_EQ(kWaitAll | MSG_NOSIGNAL, flags_);
}

TEST_F(SocketSend, AShortWriteIsContinuedWhereItEnded) {
  const ScriptedCalls calls(
      answering([](int, std::size_t size) { return size < 3 ? ssize_t(size) : ssize_t{3}; }));
  EXPECT_EQ(0, send("0123456789"));
  EXPECT_EQ("0123456789", written_);
  EXPECT_EQ(4, calls_);
}

TEST_F(SocketSend, AWriteOfNothingIsRepeatedAndCountsAsNoFailure) {
  const ScriptedCalls calls(
      answering([](int call, std::size_t size) { return call < 3 ? 0 : ssize_t(size); }));
  EXPECT_EQ(0, send("abc"));
  EXPECT_EQ("abc", written_);
  EXPECT_EQ(0u, g_aaa_msg_stat.send_again_times);
  EXPECT_EQ(0u, clock_.sleeps());
}

class TemporaryFailure : public SocketSend, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    SocketSend::SetUp();
    clock_.shorten_sleeps();
  }
};

TEST_P(TemporaryFailure, IsCountedAndTriedAgainAfter100Milliseconds) {
  const ScriptedCalls calls(answering(
      [](int call, std::size_t size) { return call == 1 ? fails(GetParam()) : ssize_t(size); }));
  EXPECT_EQ(0, send());
  EXPECT_EQ(2, calls_);
  EXPECT_EQ(1u, clock_.sleeps());
  EXPECT_EQ(100000u, clock_.slept_us());
  EXPECT_EQ(1u, g_aaa_msg_stat.send_again_times);
  EXPECT_EQ(0u, g_aaa_msg_stat.send_error_times);
  EXPECT_EQ(static_cast<std::uint32_t>(pair_.own()), g_aaa_msg_stat.last_error_socket);
  EXPECT_EQ(static_cast<std::uint32_t>(GetParam()), g_aaa_msg_stat.last_error_errno);
}

TEST_P(TemporaryFailure, FiftyTimesDiscardsTheMessageAfter49Sleeps) {
  const ScriptedCalls calls(answering([](int, std::size_t) { return fails(GetParam()); }));
  EXPECT_EQ(GetParam(), send());
  EXPECT_EQ(50, calls_);
  EXPECT_EQ(49u, clock_.sleeps());
  EXPECT_EQ(4900000u, clock_.slept_us());
  EXPECT_EQ(50u, g_aaa_msg_stat.send_again_times);
  EXPECT_EQ(1u, g_aaa_msg_stat.resend_discard_num);
  EXPECT_EQ(0u, g_aaa_msg_stat.send_error_times);
}

TEST_P(TemporaryFailure, FortyNineTimesIsStillSurvived) {
  const ScriptedCalls calls(answering(
      [](int call, std::size_t size) { return call < 50 ? fails(GetParam()) : ssize_t(size); }));
  EXPECT_EQ(0, send());
  EXPECT_EQ(0u, g_aaa_msg_stat.resend_discard_num);
}

TEST_P(TemporaryFailure, IsCountedOverTheWholeBufferAlsoWhenBytesGoBetween) {
  const ScriptedCalls calls(
      answering([](int call, std::size_t) { return call % 2 == 0 ? 1 : fails(GetParam()); }));
  EXPECT_EQ(GetParam(), send(std::string(200, 'x')));
  EXPECT_EQ(99, calls_);
  EXPECT_EQ(49u, written_.size());
}

INSTANTIATE_TEST_SUITE_P(SocketSend, TemporaryFailure, testing::Values(EINTR, EAGAIN),
                         [](const auto& kind) { return kind.param == EINTR ? "EINTR" : "EAGAIN"; });

TEST_F(SocketSend, AnyOtherFailureIsReturnedAtOnceAndCounted) {
  const ScriptedCalls calls(answering([](int, std::size_t) { return fails(ENOBUFS); }));
  EXPECT_EQ(105, send());
  EXPECT_EQ(1, calls_);
  EXPECT_EQ(0u, clock_.sleeps());
  EXPECT_EQ(1u, g_aaa_msg_stat.send_error_times);
  EXPECT_EQ(0u, g_aaa_msg_stat.send_again_times);
  EXPECT_EQ(static_cast<std::uint32_t>(pair_.own()), g_aaa_msg_stat.last_error_socket);
  EXPECT_EQ(105u, g_aaa_msg_stat.last_error_errno);
}

TEST_F(SocketSend, AClosedPeerGives32AndNoSignal) {
  pair_.close_peer();
  EXPECT_EQ(32, send());
  EXPECT_EQ(1u, g_aaa_msg_stat.send_error_times);
}

TEST_F(SocketSend, GivesUpWhenMoreThanNineSecondsHavePassed) {
  const ScriptedCalls calls(answering([this](int, std::size_t) {
    clock_.advance(1);
    errno = EAGAIN;
    return 1;
  }));
  test::enter_second();
  EXPECT_EQ(11, send(std::string(100, 'x')));
  EXPECT_EQ(10, calls_);
}

TEST_F(SocketSend, NeverReportsSuccessAtTheDeadline) {
  const ScriptedCalls calls(answering([this](int, std::size_t) {
    clock_.advance(10);
    errno = 0;
    return 1;
  }));
  EXPECT_EQ(11, send());
  EXPECT_EQ(1, calls_);
}

TEST_F(SocketSend, TestsTheDeadlineOnlyBetweenCalls) {
  const ScriptedCalls calls(answering([this](int, std::size_t size) {
    clock_.advance(60);
    return ssize_t(size);
  }));
  EXPECT_EQ(0, send());
}

}  // namespace
