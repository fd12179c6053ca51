// aaa_msg_recv: reading exactly so many bytes with a deadline.
#include "transport/framing.h"
#include "transport/pair_test.h"

namespace {

using test::fails;
using test::ScriptedCalls;

class SocketReceive : public test::PairTest {
 protected:
  std::int32_t receive(std::int32_t length = 10) {
    return aaa_msg_recv(pair_.own(), buffer_, length);
  }
  std::string received(std::size_t length) const { return {buffer_, length}; }

  // Answers the n-th call, from 1 on, as `answer(n)` says; a positive answer is so many bytes.
  test::Scripts answering(std::function<ssize_t(int call)> answer) {
    return {.recv = [this, answer](int, void* data, std::size_t size, int flags) {
      sizes_.push_back(size);
      flags_ |= flags;
      const ssize_t result = answer(static_cast<int>(sizes_.size()));
      if (result > 0) std::memset(data, 'x', static_cast<std::size_t>(result));
      return result;
    }};
  }

  test::MovedClock clock_;
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

TEST_F(SocketReceive, NothingToReadIsSuccessWithoutACall) {
  const ScriptedCalls calls(answering([](int) { return fails(EIO); }));
  EXPECT_EQ(0, receive(0));
  EXPECT_TRUE(sizes_.empty());
}

TEST_F(SocketReceive, ANegativeLengthGivesTheCurrentErrno) {
  const ScriptedCalls calls(answering([](int) { return fails(EIO); }));
  errno = ENOTTY;
  EXPECT_EQ(25, receive(-1));
  EXPECT_TRUE(sizes_.empty());
}

TEST_F(SocketReceive, PiecesAreJoinedAndOnlyTheRestIsAskedFor) {
  const ScriptedCalls calls(answering([](int call) { return call < 3 ? 4 : 2; }));
  EXPECT_EQ(0, receive(10));
  EXPECT_THAT(sizes_, testing::ElementsAre(10, 6, 2));
  EXPECT_EQ("xxxxxxxxxx", received(10));
  EXPECT_EQ(0, flags_);
}

TEST_F(SocketReceive, AClosedPeerGives32AndIsCountedWithTheCurrentErrno) {
  pair_.close_peer();
  errno = ENOTTY;
  EXPECT_EQ(32, receive());
  EXPECT_EQ(1u, g_aaa_msg_stat.recv_fail_times);
  EXPECT_EQ(static_cast<std::uint32_t>(pair_.own()), g_aaa_msg_stat.last_error_socket);
  EXPECT_EQ(25u, g_aaa_msg_stat.last_error_errno);
}

TEST_F(SocketReceive, APeerThatClosesInBetweenGives32) {
  pair_.peer_writes("abc");
  pair_.close_peer();
  EXPECT_EQ(32, receive(10));
  EXPECT_EQ(1u, g_aaa_msg_stat.recv_fail_times);
}

TEST_F(SocketReceive, AnInterruptedCallIsRepeatedAtOnceAndNotCounted) {
  const ScriptedCalls calls(answering([](int call) {
    return call == 1 ? fails(EINTR) : call == 2 ? fails(EAGAIN) : 10;
  }));
  EXPECT_EQ(0, receive(10));
  EXPECT_EQ(3u, sizes_.size());
  EXPECT_EQ(0u, clock_.sleeps());
  EXPECT_EQ(0u, g_aaa_msg_stat.recv_fail_times);
  EXPECT_EQ(0u, g_aaa_msg_stat.last_error_errno);
}

TEST_F(SocketReceive, MoreThanFiftyInterruptionsDoNotMatter) {
  const ScriptedCalls calls(answering([](int call) { return call < 200 ? fails(EINTR) : 10; }));
  EXPECT_EQ(0, receive(10));
}

TEST_F(SocketReceive, AnyOtherFailureIsReturnedAtOnceAndCounted) {
  const ScriptedCalls calls(answering([](int) { return fails(ECONNRESET); }));
  EXPECT_EQ(104, receive());
  EXPECT_EQ(1u, sizes_.size());
  EXPECT_EQ(1u, g_aaa_msg_stat.recv_fail_times);
  EXPECT_EQ(static_cast<std::uint32_t>(pair_.own()), g_aaa_msg_stat.last_error_socket);
  EXPECT_EQ(104u, g_aaa_msg_stat.last_error_errno);
}

// The socket's own timeout ends each blocked call after 2 seconds.
TEST_F(SocketReceive, APeerThatSendsNothingGives11AfterTenSecondsAndCountsNothing) {
  const ScriptedCalls calls(answering([this](int) {
    clock_.advance(2);
    return fails(EAGAIN);
  }));
  test::enter_second();
  const std::uint32_t start = test::library_seconds();
  EXPECT_EQ(11, receive());
  EXPECT_EQ(5u, sizes_.size());
  EXPECT_EQ(start + 10, test::library_seconds());
  EXPECT_EQ(0u, g_aaa_msg_stat.recv_fail_times);
}

TEST_F(SocketReceive, GivesUpAtTheDeadlineAlsoWhileBytesTrickleIn) {
  const ScriptedCalls calls(answering([this](int) {
    clock_.advance(1);
    errno = EINTR;
    return 1;
  }));
  test::enter_second();
  EXPECT_EQ(4, receive(64));
  EXPECT_EQ(10u, sizes_.size());
}

TEST_F(SocketReceive, NeverReportsSuccessAtTheDeadline) {
  const ScriptedCalls calls(answering([this](int) {
    clock_.advance(10);
    errno = 0;
    return 1;
  }));
  EXPECT_EQ(11, receive(10));
}

TEST_F(SocketReceive, TestsTheDeadlineOnlyBetweenCalls) {
  const ScriptedCalls calls(answering([this](int) {
    clock_.advance(60);
    return 10;
  }));
  EXPECT_EQ(0, receive(10));
}

}  // namespace
