// The management requests that wait for aaad's answer, in what they have in common.
#include <climits>

#include "support/exchange_scenarios.h"

namespace test {
namespace {

std::string mib() {
  return std::string(196, 'a') + std::string(196, 'b');
}

const ExchangeKind method_list = {
    .name = "method_list",
    .type = 9,
    .body = hex("01000000 02000000 04030201 6c6f63616c00"),
    .call = [] { return std::int64_t{aaa_mlist_existed(1, 2, 0x01020304, "local")}; },
    .answer = message_bytes(104, word_bytes(0x11223344)),
    .success = 0x11223344,
    .no_answer = 0,
    .other_type = 0,
    .not_alive = 0,
    .no_memory = 0,
};
const ExchangeKind method_list_state = {
    .name = "method_list_state",
    .type = 18,
    .body = hex("0a000000 646f743178 00"),
    .call = [] { return std::int64_t{aaa_authen_mlist_sta_query(10, "dot1x")}; },
    .answer = message_bytes(114, word_bytes(0x11223344)),
    .success = 0x11223344,
    .no_answer = 0,
    .other_type = 0,
    .not_alive = 0,
    .no_memory = 0,
};
const ExchangeKind server_mib = {
    .name = "server_mib",
    .type = 12,
    .body = mib() + hex("04030201"),
    .call = [] { return std::int64_t{aaa_srv_mib(mib().data(), 0x01020304)}; },
    .answer = message_bytes(107, word_bytes(7)),
    .success = 7,
    .no_answer = -1,
    .other_type = -1,
    .not_alive = -1,
    .no_memory = -1,
};
const ExchangeKind group = {
    .name = "group",
    .type = 13,
    .body = hex("44332211 04030201 67727000"),
    .call = [] { return std::int64_t{aaa_register_group(0x01020304, "grp", 0x11223344)}; },
    .answer = message_bytes(108, word_bytes(0)),
    .success = 1,
    .no_answer = 0,
    .other_type = 0,
    .not_alive = 0,
    .no_memory = 0,
};
const ExchangeKind password = {
    .name = "password",
    .type = 26,
    .body = hex("04030201 44332211 02000000 6162 03000000 636465 00000000"),
    .call =
        [] {
          std::uint32_t status = 0;
          return std::int64_t{
              aaa_update_user_pwd(0x01020304, 0x11223344, "ab", "cde", "", &status)};
        },
    .answer = message_bytes(129, word_bytes(1) + word_bytes(2)),
    .success = 0,
    .no_answer = 4,
    .other_type = 0,
    .not_alive = std::nullopt,
    .no_memory = 5,
};

const auto queries = testing::Values(method_list, method_list_state, server_mib, group, password);
INSTANTIATE_TEST_SUITE_P(, Exchanges, queries, exchange_name);
INSTANTIATE_TEST_SUITE_P(, DirectExchanges, queries, exchange_name);

// The queries whose answers are a word and nothing else.
class WordAnswers : public Exchanges {};

INSTANTIATE_TEST_SUITE_P(, WordAnswers, testing::Values(method_list, server_mib, group),
                         exchange_name);

TEST_P(WordAnswers, OfAnotherLengthAreNone) {
  for (const std::size_t length : {0, 1, 3, 5, 8}) {
    for (const char byte : {'\0', '\1'}) {
      const std::string& right = GetParam().answer;
      aaad_answers(message_bytes(word_at(right, 8), std::string(length, byte)));
      EXPECT_EQ(GetParam().no_answer, call()) << length << " bytes";
    }
  }
}

// The words of an answer and the results that they are.
using WordResults = std::vector<std::pair<std::uint32_t, std::int64_t>>;

class AnswerWords : public LinkedTest,
                    public testing::WithParamInterface<std::pair<ExchangeKind, WordResults>> {};

INSTANTIATE_TEST_SUITE_P(
    , AnswerWords,
    testing::Values(
        std::pair{method_list, WordResults{{0, 0}, {1, 1}, {0xffffffff, 0xffffffff}}},
        std::pair{server_mib, WordResults{{0, 0}, {0x7fffffff, INT_MAX}, {0x80000000, INT_MIN}}},
        std::pair{group, WordResults{{0, 1}, {1, 0}, {0x01000000, 0}, {0xffffffff, 0}}}),
    [](const auto& one) { return one.param.first.name; });

TEST_P(AnswerWords, AreTheResults) {
  const auto& [kind, results] = GetParam();
  for (const auto& [word, result] : results) {
    aaad_answers(message_bytes(word_at(kind.answer, 8), word_bytes(word)));
    EXPECT_EQ(result, kind.call()) << word;
  }
}

}  // namespace
}  // namespace test
