// Session ids: blocks that aaad grants and the client hands out one by one.
#include "api/session_ids.h"
#include "support/locked_state.h"

#include "support/exchange_scenarios.h"

namespace test {
namespace {

constexpr std::size_t kRequests = 8, kFailures = 9, kTimeTotal = 10, kTimeMax = 11;

class SessionIds : public LinkedTest {
 protected:
  void aaad_grants(std::uint32_t first, std::uint32_t count) {
    aaad_answers(message_bytes(3, word_bytes(first) + word_bytes(count)));
  }
  static void hold_block(std::uint32_t last, std::uint32_t end) {
    aaa::g_session_id = last;
    aaa::g_session_id_max = end;
  }
  static void expect_block(std::uint32_t last, std::uint32_t end) {
    EXPECT_EQ(last, aaa::g_session_id);
    EXPECT_EQ(end, aaa::g_session_id_max);
  }
  static void expect_counted(const LibraryCounters& counters, std::uint32_t requests,
                             std::uint32_t failures) {
    counters.expect_grown({{kRequests, requests}, {kFailures, failures}}, kTimeTotal);
  }
};

TEST_F(SessionIds, NoBlockIsHeldAtFirst) {
  expect_block(0, 0);
}

TEST_F(SessionIds, TheFirstCallAsksForABlockThatIsHandedOutBeforeTheNextIsAskedFor) {
  aaad_grants(100, 3);
  aaad_grants(500, 2);
  EXPECT_EQ(100u, aaa_get_session_id());
  EXPECT_EQ(hex("01010101 00000000 03000000 08000000 00000000 00000000"), only_write());
  expect_block(100, 103);
  EXPECT_EQ(101u, aaa_get_session_id());
  EXPECT_EQ(102u, aaa_get_session_id());
  EXPECT_EQ(1u, writes().size());
  expect_block(102, 103);
  EXPECT_EQ(500u, aaa_get_session_id());
  EXPECT_EQ(501u, aaa_get_session_id());
  EXPECT_EQ(2u, writes().size());
}

TEST_F(SessionIds, ABlockOf0Or1GivesItsFirstIdAndTheNextCallAsksAgain) {
  aaad_grants(7, 0);
  aaad_grants(8, 1);
  aaad_grants(9, 1);
  for (const std::uint32_t expected : {7, 8, 9})
    EXPECT_EQ(expected, aaa_get_session_id());
  EXPECT_EQ(3u, writes().size());
}

TEST_F(SessionIds, AFirstIdOf0IsAFailureThatLeavesTheBlockAndTheNextCallAsksAgain) {
  hold_block(5, 6);
  aaad_grants(0, 10);
  aaad_grants(40, 1);
  EXPECT_EQ(0u, aaa_get_session_id());
  expect_block(5, 6);
  EXPECT_EQ(40u, aaa_get_session_id());
}

TEST_F(SessionIds, AnAnswerOfAnotherTypeIsAFailureThatLeavesTheBlockAndHasNoLine) {
  hold_block(5, 6);
  const LibraryCounters counters;
  const OpenLog log;
  aaad_answers(message_bytes(103, word_bytes(100) + word_bytes(3)));
  EXPECT_EQ(0u, aaa_get_session_id());
  expect_block(5, 6);
  expect_counted(counters, 1, 1);
  for (const LogLine& line : log.lines())
    EXPECT_NE("aaa_get_session_id", line.function()) << line.message();
}

TEST_F(SessionIds, NoAnswerAndNoSendAreFailuresThatLeaveTheBlockWithALine) {
  hold_block(5, 6);
  MovedClock clock;
  script({.recv = [&](int, void*, std::size_t, int) {
    clock.advance(2);
    return std::optional<ssize_t>(fails(EAGAIN));
  }});
  for (const int error : {0, EPIPE}) {
    next_write_fails(error);
    const OpenLog log;
    const LibraryCounters counters;
    EXPECT_EQ(0u, aaa_get_session_id());
    log.expect("aaa_get_session_id", "get sessionid from aaad failed.\r\n");
    expect_counted(counters, 1, 1);
    expect_block(5, 6);
  }
}

TEST_F(SessionIds, AGrantIsLoggedAlsoOfId0AndAnIdOutOfTheBlockIsNot) {
  const OpenLog log;
  aaad_grants(0, 3);
  aaa_get_session_id();
  log.expect("aaa_get_session_id", "get sessionid from aaad success, current 0, top 3.\r\n");
  aaad_grants(4000000000, 3);
  aaa_get_session_id();
  log.expect("aaa_get_session_id",
             "get sessionid from aaad success, current 4000000000, top 3.\r\n");
  const std::size_t lines = log.lines().size();
  EXPECT_EQ(4000000001u, aaa_get_session_id());
  EXPECT_EQ(lines, log.lines().size());
}

TEST_F(SessionIds, WhatAShortAnswerLacksIsZeroAndAnEmptyOneAFailure) {
  const LibraryCounters counters;
  aaad_answers(message_bytes(3, word_bytes(7)));
  aaad_answers(message_bytes(3, hex("0908")));
  aaad_answers(message_bytes(3, ""));
  EXPECT_EQ(7u, aaa_get_session_id());
  expect_block(7, 7);
  EXPECT_EQ(0x0809u, aaa_get_session_id());
  EXPECT_EQ(0u, aaa_get_session_id());
  expect_counted(counters, 3, 1);
}

TEST_F(SessionIds, ABlockThatReaches2To32EndsAtItsFirstId) {
  aaad_grants(0xfffffffe, 10);
  EXPECT_EQ(0xfffffffeu, aaa_get_session_id());
  expect_block(0xfffffffe, 8);
  for (const std::uint32_t count : {1u, 0u, 0x80000000u}) {
    aaad_grants(0xffffffff, count);
    EXPECT_EQ(0xffffffffu, aaa_get_session_id()) << count;
  }
  aaad_grants(42, 1);
  EXPECT_EQ(42u, aaa_get_session_id()) << "never 0";
  EXPECT_EQ(5u, writes().size());
}

TEST_F(SessionIds, NotRegisteredGives0CountsNothingAndLeavesTheBlock) {
  hold_block(5, 9);
  const LibraryCounters counters;
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    set_reg_state(state);
    EXPECT_EQ(0u, aaa_get_session_id());
  }
  EXPECT_TRUE(counters.all_unchanged());
  expect_block(5, 9);
  set_reg_state(AAA_REG_REGISTERED);
  EXPECT_EQ(6u, aaa_get_session_id());
  EXPECT_TRUE(writes().empty());
}

TEST_F(SessionIds, EveryCallCountsOnlyFailuresAsFailuresAndTheAnswerIsReleased) {
  const LibraryCounters counters;
  aaad_grants(100, 2);
  aaad_grants(0, 2);
  aaad_answers(message_bytes(103, word_bytes(1)));
  aaa_get_session_id();
  aaa_get_session_id();
  expect_counted(counters, 2, 0);
  aaa_get_session_id();
  expect_counted(counters, 3, 1);
  aaa_get_session_id();
  expect_counted(counters, 4, 2);
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_F(SessionIds, TheTimeOfTheExchangeIsKept) {
  aaa::store(LibraryCounters::word(kTimeMax), 0U);
  const LibraryCounters counters;
  during_writes([] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); });
  aaad_grants(0, 0);
  aaa_get_session_id();
  EXPECT_GE(counters.grown(kTimeTotal), 2000u);
  EXPECT_EQ(counters.grown(kTimeTotal), counters.grown(kTimeMax));
}

TEST_F(SessionIds, TheTimeOfIdsOutOfTheBlockIsKept) {
  hold_block(1, 1000000);
  const LibraryCounters counters;
  // Each takes a fraction of a microsecond; now and then one crosses a microsecond's edge.
  for (int i = 0; i < 50000; ++i)
    aaa_get_session_id();
  EXPECT_GT(counters.grown(kTimeTotal), 0u);
}

// Of a block of one id each is an exchange.
// clang-format off
const ExchangeKind session_id = {
    "session_id", 3, hex("00000000 00000000"), aaa_get_session_id,
    message_bytes(3, hex("64000000 01000000")), 100, {0, 0, 0, 0}};
// clang-format on

INSTANTIATE_TEST_SUITE_P(, Exchanges, testing::Values(session_id), row_name);
INSTANTIATE_TEST_SUITE_P(, DirectExchanges, testing::Values(session_id), row_name);

}  // namespace
}  // namespace test
