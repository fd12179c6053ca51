// Questions about method lists.
#include <chrono>
#include <thread>

#include "support/linked_test.h"

namespace test {
namespace {

constexpr std::size_t kQueries = 12, kFailures = 13, kTimeTotal = 14, kTimeMax = 15;

class MethodLists : public LinkedTest {
 protected:
  std::uint32_t existed(const std::string& answer) {
    aaad_answers(answer);
    return aaa_mlist_existed(1, 2, 3, "local");
  }
  std::uint32_t state(const std::string& answer, std::uint32_t kind = 0,
                      const char* name = "local") {
    aaad_answers(answer);
    return aaa_authen_mlist_sta_query(kind, name);
  }
  static void expect_counted(const LibraryCounters& counters, std::uint32_t queries,
                             std::uint32_t failures) {
    counters.expect_grown({{kQueries, queries}, {kFailures, failures}}, kTimeTotal);
  }
  static void rest() { std::this_thread::sleep_for(std::chrono::milliseconds(2)); }
};

TEST_F(MethodLists, TheThreeWordsStandBeforeTheNameAndItsNul) {
  const std::string long_name(70000, 'n');
  for (const std::string& name : {std::string("local"), std::string(), long_name}) {
    aaad_answers(message_bytes(104, word_bytes(1)));
    EXPECT_EQ(1u, aaa_mlist_existed(1, 2, 3, name.c_str()));
    EXPECT_EQ(13 + name.size(), word_at(writes().back(), 12));
    EXPECT_EQ(hex("01000000 02000000 03000000") + name + '\0', writes().back().substr(16));
  }
}

TEST_F(MethodLists, AQueryIsCountedBeforeItIsSent) {
  const LibraryCounters counters;
  during_writes([&] { expect_counted(counters, 1, 0); });
  existed(message_bytes(104, word_bytes(1)));
  EXPECT_EQ(1u, writes().size());
  expect_counted(counters, 1, 0);
}

TEST_F(MethodLists, NoAnswerIsCountedAsAFailureAndAWrongOneIsNot) {
  const LibraryCounters counters;
  next_write_fails(EPIPE);
  EXPECT_EQ(0u, aaa_mlist_existed(1, 2, 3, "local"));
  expect_counted(counters, 1, 1);
  existed(message_bytes(114, word_bytes(1)));
  existed(message_bytes(104, ""));
  expect_counted(counters, 3, 1);
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

TEST_F(MethodLists, AStateQuerySendsTheKindAndTheNameIfThereIsOneWithItsNul) {
  const std::string answer = message_bytes(114, word_bytes(9));
  EXPECT_EQ(9u, state(answer));
  EXPECT_EQ(hex("0a000000 00000000 6c6f63616c 00"), writes().back().substr(12));
  EXPECT_EQ(9u, state(answer, 10, nullptr));
  EXPECT_EQ(hex("01010101 00000000 12000000 04000000 0a000000"), writes().back());
  EXPECT_EQ(9u, state(answer, 1, ""));
  EXPECT_EQ(hex("05000000 01000000 00"), writes().back().substr(12));
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
}  // namespace test
