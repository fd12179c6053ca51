// aaa_msg_recv: reading exactly so many bytes with a deadline.
#include "transport/framing.h"
#include "transport/pair_test.h"

namespace test::socket_receive {

class SocketReceive : public PairTest {
 protected:
  std::int32_t receive(std::int32_t length = 10) {
    return aaa_msg_recv(pair_.own(), buffer_, length);
  }
  std::string received(std::size_t length) const { return {buffer_, length}; }

  // Answers the n-th call, from 1 on, as `answer(n)` says; a positive answer is so many bytes.
  Scripts answering(std::function<ssize_t(int call)> answer) {
    return {.recv = [this, answer](int, void* data, std::size_t size, int flags) {
      sizes_.push_back(size);
      flags_ |= flags;
      const ssize_t result = answer(static_cast<int>(sizes_.size()));
      if (result > 0) std::memset(data, 'x', static_cast<std::size_t>(result));
      return result;
    }};
  }
  void expect_counted(std::uint32_t failures, std::uint32_t error) const {
    EXPECT_EQ(failures, g_aaa_msg_stat.recv_fail_times);
    EXPECT_EQ(error, g_aaa_msg_stat.last_error_errno);
    EXPECT_EQ(error == 0 ? 0 : static_cast<std::uint32_t>(pair_.own()),
              g_aaa_msg_stat.last_error_socket);
  }

  char buffer_[64] = {};
  std::vector<std::size_t> sizes_;
  int flags_ = 0;
};

TEST_F(SocketReceive, ReadsWhatItWasAskedForAndNoMore) {
  pair_.peer_writes("0123456789");
  EXPECT_EQ(0, receive(4));
  EXPECT_EQ("0123", received(4));
  EXPECT_EQ(6u, pair_.waiting_for_library());
}

TEST_F(SocketReceive, BadArgumentsGive22) {
  EXPECT_EQ(22, aaa_msg_recv(-1, buffer_, 1));
  EXPECT_EQ(22, aaa_msg_recv(pair_.own(), nullptr, 1));
}

TEST_F(SocketReceive, NothingToReadIsSuccessAndANegativeLengthTheCurrentErrnoWithoutACall) {
  const ScriptedCalls calls({.recv = unwanted()});
  EXPECT_EQ(0, receive(0));
  errno = ENOTTY;
  EXPECT_EQ(25, receive(-1));
}

TEST_F(SocketReceive, PiecesAreJoinedAndOnlyTheRestIsAskedFor) {
  const ScriptedCalls calls(answering([](int call) { return call < 3 ? 4 : 2; }));
  EXPECT_EQ(0, receive(10));
  EXPECT_THAT(sizes_, ElementsAre(10, 6, 2));
  EXPECT_EQ("xxxxxxxxxx", received(10));
  EXPECT_EQ(0, flags_);
}

TEST_F(SocketReceive, AClosedPeerGives32AndIsCountedWithTheCurrentErrno) {
  pair_.close_peer();
  errno = ENOTTY;
  EXPECT_EQ(32, receive());
  expect_counted(1, 25);
}

TEST_F(SocketReceive, APeerThatClosesInBetweenGives32) {
  pair_.peer_writes("abc");
  pair_.close_peer();
  EXPECT_EQ(32, receive(10));
  EXPECT_EQ(1u, g_aaa_msg_stat.recv_fail_times);
}

TEST_F(SocketReceive, AnInterruptedCallIsRepeatedAtOnceAndNotCounted) {
  const ScriptedCalls calls(
      answering([](int call) { return call < 200 ? fails(call % 2 == 0 ? EAGAIN : EINTR) : 10; }));
  EXPECT_EQ(0, receive(10));
  EXPECT_EQ(200u, sizes_.size());
  EXPECT_EQ(0u, clock_.sleeps());
  expect_counted(0, 0);
}

TEST_F(SocketReceive, AnyOtherFailureIsReturnedAtOnceAndCounted) {
  const ScriptedCalls calls(answering([](int) { return fails(ECONNRESET); }));
  EXPECT_EQ(104, receive());
  EXPECT_EQ(1u, sizes_.size());
  expect_counted(1, 104);
}

// The socket's own timeout ends each blocked call after 2 seconds.
TEST_F(SocketReceive, APeerThatSendsNothingGives11AfterTenSecondsAndCountsNothing) {
  const ScriptedCalls calls(answering([this](int) { return clock_.advance(2), fails(EAGAIN); }));
  enter_second();
  const std::uint32_t start = library_seconds();
  EXPECT_EQ(11, receive());
  EXPECT_EQ(5u, sizes_.size());
  EXPECT_EQ(start + 10, library_seconds());
  EXPECT_EQ(0u, g_aaa_msg_stat.recv_fail_times);
}

// A byte each time, so many seconds after the last one, with an errno left over.
struct LateBytes {
  int seconds;
  int left_errno;
  std::int32_t length;
  std::int32_t result;
  std::size_t reads;
};

TEST_F(SocketReceive, GivesUpAtTheDeadlineAndNeverReportsSuccess) {
  for (const LateBytes& late : {LateBytes{1, EINTR, 64, 4, 10}, {10, 0, 10, 11, 1}}) {
    sizes_.clear();
    const ScriptedCalls calls(answering([&](int) {
      clock_.advance(late.seconds);
      errno = late.left_errno;
      return 1;
    }));
    enter_second();
    EXPECT_EQ(late.result, receive(late.length)) << late.seconds;
    EXPECT_EQ(late.reads, sizes_.size()) << late.seconds;
  }
}

TEST_F(SocketReceive, TestsTheDeadlineOnlyBetweenCalls) {
  const ScriptedCalls calls(answering([this](int) { return clock_.advance(60), 10; }));
  EXPECT_EQ(0, receive(10));
}

}  // namespace test::socket_receive
