// Questions about method lists.
#include <chrono>
#include <thread>

#include "session/state/client_state.h"
#include "support/library_counters.h"
#include "support/linked_test.h"

namespace {

using test::hex;
using test::LibraryCounters;
using test::message_bytes;
using test::word_bytes;

constexpr std::size_t kQueries = 12;
constexpr std::size_t kFailures = 13;
constexpr std::size_t kTimeTotal = 14;
constexpr std::size_t kTimeMax = 15;

class MethodLists : public test::LinkedTest {
 protected:
  std::uint32_t existed(const std::string& answer) {
    aaad_answers(answer);
    return aaa_mlist_existed(1, 2, 3, "local");
  }
  std::uint32_t state(const std::string& answer) {
    aaad_answers(answer);
    return aaa_authen_mlist_sta_query(0, "local");
  }
  static void expect_counted(const LibraryCounters& counters, std::uint32_t queries,
                             std::uint32_t failures) {
    for (std::size_t n = 0; n < LibraryCounters::kWords; ++n) {
      if (n == kTimeTotal || n == kTimeMax) continue;
      const std::uint32_t expected = n == kQueries ? queries : n == kFailures ? failures : 0;
      EXPECT_EQ(expected, counters.grown(n)) << "counter " << n;
    }
  }
  static void rest() { std::this_thread::sleep_for(std::chrono::milliseconds(2)); }
};

TEST_F(MethodLists, TheThreeWordsStandBeforeTheNameAndItsNul) {
  existed(message_bytes(104, word_bytes(1)));
  EXPECT_EQ(hex("01000000 02000000 03000000 6c6f63616c 00"), only_write().substr(16));
}

TEST_F(MethodLists, AnEmptyNameTravelsAsItsNul) {
  aaad_answers(message_bytes(104, word_bytes(1)));
  EXPECT_EQ(1u, aaa_mlist_existed(1, 2, 3, ""));
  EXPECT_EQ(hex("01000000 02000000 03000000 00"), only_write().substr(16));
}

TEST_F(MethodLists, ALongNameTravelsWhole) {
  const std::string name(70000, 'n');
  aaad_answers(message_bytes(104, word_bytes(1)));
  EXPECT_EQ(1u, aaa_mlist_existed(1, 2, 3, name.c_str()));
  EXPECT_EQ(70013u, test::word_at(only_write(), 12));
  EXPECT_EQ(name + '\0', only_write().substr(28));
}

TEST_F(MethodLists, TheWordOfAnAnswerOf4BytesIsTheResult) {
  EXPECT_EQ(0u, existed(message_bytes(104, word_bytes(0))));
  EXPECT_EQ(1u, existed(message_bytes(104, word_bytes(1))));
  EXPECT_EQ(0xffffffffu, existed(message_bytes(104, word_bytes(0xffffffff))));
}

TEST_F(MethodLists, AnAnswerOfAnotherLengthGives0) {
  for (const std::size_t length : {0, 1, 3, 5, 8})
    EXPECT_EQ(0u, existed(message_bytes(104, std::string(length, '\1')))) << length;
}

TEST_F(MethodLists, ANullNameGives0AndIsCountedAsAQueryAlone) {
  const LibraryCounters counters;
  EXPECT_EQ(0u, aaa_mlist_existed(1, 2, 3, nullptr));
  EXPECT_TRUE(writes().empty());
  for (std::size_t n = 0; n < LibraryCounters::kWords; ++n)
    EXPECT_EQ(n == kQueries ? 1u : 0u, counters.grown(n)) << "counter " << n;
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_F(MethodLists, ANullNameIsNotCountedWithoutARegistration) {
  const LibraryCounters counters;
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(0u, aaa_mlist_existed(1, 2, 3, nullptr));
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(MethodLists, ANullNameIsNotLookedAtBeforeTheRegistration) {
  aaa::set_reg_state(AAA_REG_LOST);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0u, aaa_mlist_existed(1, 2, 3, nullptr));
  EXPECT_EQ(1u, log.count("already unregistered or not registered or is connecting!\r\n"));
}

TEST_F(MethodLists, AnAnsweredQueryIsCounted) {
  const LibraryCounters counters;
  existed(message_bytes(104, word_bytes(1)));
  expect_counted(counters, 1, 0);
}

TEST_F(MethodLists, TheQueryIsCountedBeforeItIsSent) {
  const LibraryCounters counters;
  during_writes([&] { expect_counted(counters, 1, 0); });
  existed(message_bytes(104, word_bytes(1)));
  EXPECT_EQ(1u, writes().size());
}

TEST_F(MethodLists, NoAnswerIsCountedAsAFailure) {
  const LibraryCounters counters;
  next_write_fails(EPIPE);
  EXPECT_EQ(0u, aaa_mlist_existed(1, 2, 3, "local"));
  expect_counted(counters, 1, 1);
}

TEST_F(MethodLists, AWrongAnswerIsNotCountedAsAFailure) {
  const LibraryCounters counters;
  existed(message_bytes(114, word_bytes(1)));
  existed(message_bytes(104, ""));
  expect_counted(counters, 2, 0);
}

TEST_F(MethodLists, TheTimeOfAQueryIsKeptInItsSlot) {
  aaa::store(LibraryCounters::word(kTimeMax), 0U);
  const LibraryCounters counters;
  during_writes(rest);
  existed(message_bytes(104, word_bytes(1)));
  EXPECT_GE(counters.grown(kTimeTotal), 2000u);
  EXPECT_LT(counters.grown(kTimeTotal), 10000000u);
  EXPECT_EQ(counters.grown(kTimeTotal), counters.grown(kTimeMax));
}

TEST_F(MethodLists, TheTimeOfAQueryWithoutARightAnswerIsKeptToo) {
  during_writes(rest);
  LibraryCounters counters;
  next_write_fails(EPIPE);
  aaa_mlist_existed(1, 2, 3, "local");
  EXPECT_GE(counters.grown(kTimeTotal), 2000u);
  counters = LibraryCounters();
  existed(message_bytes(103, ""));
  EXPECT_GE(counters.grown(kTimeTotal), 2000u);
}

TEST_F(MethodLists, AStateQueryWithANameSendsKindNameAndNul) {
  EXPECT_EQ(9u, state(message_bytes(114, word_bytes(9))));
  EXPECT_EQ(hex("00000000 6c6f63616c 00"), only_write().substr(16));
}

TEST_F(MethodLists, AStateQueryWithoutANameSendsTheKindAlone) {
  aaad_answers(message_bytes(114, word_bytes(9)));
  EXPECT_EQ(9u, aaa_authen_mlist_sta_query(10, nullptr));
  EXPECT_EQ(hex("01010101 00000000 12000000 04000000 0a000000"), only_write());
}

TEST_F(MethodLists, AStateQueryOfAnEmptyNameSendsItsNul) {
  aaad_answers(message_bytes(114, word_bytes(9)));
  EXPECT_EQ(9u, aaa_authen_mlist_sta_query(1, ""));
  EXPECT_EQ(hex("05000000 01000000 00"), only_write().substr(12));
}

TEST_F(MethodLists, KindsFrom11OnGive0WithoutASend) {
  EXPECT_EQ(0u, aaa_authen_mlist_sta_query(11, "x"));
  EXPECT_EQ(0u, aaa_authen_mlist_sta_query(11, nullptr));
  EXPECT_EQ(0u, aaa_authen_mlist_sta_query(0xffffffff, "x"));
  EXPECT_TRUE(writes().empty());
}

TEST_F(MethodLists, AnUnknownKindIsRefusedAfterTheRegistrationIsAskedFor) {
  aaa::set_reg_state(AAA_REG_LOST);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0u, aaa_authen_mlist_sta_query(11, "x"));
  EXPECT_EQ(1u, log.count("already unregistered or not registered or is connecting!\r\n"));
}

TEST_F(MethodLists, TheStatesFirstWordIsTakenWhateverTheAnswersLength) {
  EXPECT_EQ(5u, state(message_bytes(114, word_bytes(5) + word_bytes(6))));
  EXPECT_EQ(0x2211u, state(message_bytes(114, hex("1122"))));
  EXPECT_EQ(0u, state(message_bytes(114, "")));
}

TEST_F(MethodLists, StateQueriesAreNotCounted) {
  const LibraryCounters counters;
  state(message_bytes(114, word_bytes(9)));
  next_write_fails(EPIPE);
  aaa_authen_mlist_sta_query(0, "local");
  EXPECT_TRUE(counters.all_unchanged());
}

}  // namespace
