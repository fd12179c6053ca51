// What holds for every function of the library that is one exchange with aaad. One file of a test
// program includes this and instantiates Exchanges with the program's functions.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/failing_allocator.h"
#include "support/library_counters.h"
#include "support/linked_test.h"
#include "support/lock_check.h"
#include "support/locked_state.h"

namespace test {

struct ExchangeKind {
  // Of a call that gets no answer, that gets the answer's body under another type, and when the
  // first block cannot be had, which is the body's. Without a registration: nothing where the call
  // does not ask for it.
  struct Results {
    std::int64_t no_answer, other_type, no_memory;
    std::optional<std::int64_t> not_alive;
  };

  std::string name;
  std::uint32_t type;
  std::string body;
  std::function<std::int64_t()> call;
  // An answer with which the call succeeds, and what it then returns.
  std::string answer;
  std::int64_t success;
  Results results;
  std::uint32_t id = 0;
};

class Exchanges : public LinkedTest, public testing::WithParamInterface<ExchangeKind> {
 protected:
  static std::int64_t call() { return GetParam().call(); }
  std::int64_t answered_call() {
    aaad_answers(GetParam().answer);
    return call();
  }
};

// Those that write to the socket themselves, whatever the client asked for.
class DirectExchanges : public Exchanges {};

TEST_P(Exchanges, WriteTheHeaderWithTheIdAndTheBody) {
  EXPECT_EQ(GetParam().success, answered_call());
  EXPECT_EQ(message_with_id(GetParam().id, GetParam().type, GetParam().body), only_write());
}

TEST_P(Exchanges, AskForTheRegistrationOrDoWithoutIt) {
  const LibraryCounters counters;
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    test::set_reg_state(state);
    EXPECT_EQ(GetParam().results.not_alive.value_or(GetParam().success), answered_call()) << state;
  }
  EXPECT_EQ(GetParam().results.not_alive ? 0u : 4u, writes().size());
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_P(Exchanges, ARequestThatCannotBeSentHasNoAnswer) {
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().results.no_answer, call());
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_P(Exchanges, AnAaadThatClosesTheConnectionGivesNoAnswer) {
  during_writes([this] { link_.close_peer(); });
  EXPECT_EQ(GetParam().results.no_answer, call());
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_P(Exchanges, ASilentAaadGivesNoAnswer) {
  MovedClock clock;
  script({.recv = [&](int, void*, std::size_t, int) {
    clock.advance(2);
    return std::optional<ssize_t>(fails(EAGAIN));
  }});
  EXPECT_EQ(GetParam().results.no_answer, call());
  EXPECT_EQ(1u, writes().size());
}

TEST_P(Exchanges, AnAnswerThatEndsInItsHeaderIsNone) {
  during_writes([this] {
    link_.peer_writes(GetParam().answer.substr(0, 15));
    link_.close_peer();
  });
  EXPECT_EQ(GetParam().results.no_answer, call());
}

TEST_P(Exchanges, AnAnswerThatEndsInItsBodyIsNone) {
  during_writes([this] {
    link_.peer_writes(GetParam().answer.substr(0, GetParam().answer.size() - 1));
    link_.close_peer();
  });
  EXPECT_EQ(GetParam().results.no_answer, call());
}

TEST_P(Exchanges, AnAnswerOfAnotherTypeGivesItsResult) {
  aaad_answers(message_bytes(103, GetParam().answer.substr(16)));
  EXPECT_EQ(GetParam().results.other_type, call());
}

TEST_P(DirectExchanges, WhatAnEarlierExchangeLeftUnreadIsNotTheAnswer) {
  link_.peer_writes(message_bytes(103, "late"));
  EXPECT_EQ(GetParam().success, answered_call());
}

TEST_P(Exchanges, NoMemoryForTheBodySendsNothing) {
  const FailMalloc failing(1);
  EXPECT_EQ(GetParam().results.no_memory, answered_call());
  EXPECT_TRUE(failing.happened());
  EXPECT_TRUE(writes().empty());
}

TEST_P(Exchanges, NoMemoryForTheMessageOrTheAnswerIsNoAnswer) {
  for (const std::uint32_t block : {2u, 3u}) {
    const FailMalloc failing(block);
    const std::int64_t result = answered_call();
    EXPECT_EQ(failing.happened() ? GetParam().results.no_answer : GetParam().success, result)
        << block;
  }
}

TEST_P(Exchanges, FreeTheirBlocks) {
  const LibraryCounters counters;
  answered_call();
  next_write_fails(EPIPE);
  call();
  EXPECT_LE(3u, counters.blocks_allocated());
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(Exchanges, HoldTheLibraryLockFromTheSendToTheEndOfTheAnswer) {
  bool free_meanwhile = false;
  const auto look = [&] { free_meanwhile = free_meanwhile || is_free(aaa_lib_lock); };
  int reads = 0;
  script({.recv = [&](int, void*, std::size_t, int) {
    look();
    ++reads;
    return std::optional<ssize_t>();
  }});
  during_writes(look);
  EXPECT_EQ(GetParam().success, answered_call());
  EXPECT_LE(1, reads);
  EXPECT_FALSE(free_meanwhile);
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_P(DirectExchanges, AreNotQueued) {
  const QueueInUse queue;
  EXPECT_EQ(GetParam().success, answered_call());
  EXPECT_EQ(1u, writes().size());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
}

TEST_P(Exchanges, LogNothingWhileTheGateIsClosed) {
  const LogCapture log;
  answered_call();
  next_write_fails(EPIPE);
  call();
  aaad_answers(message_bytes(103, ""));
  call();
  test::set_reg_state(AAA_REG_LOST);
  aaad_answers(GetParam().answer);
  call();
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace test
