// The management requests that wait for aaad's answer, in what they have in common.
#include <climits>

#include "support/exchange_scenarios.h"

namespace test {
namespace {

const std::string mib = std::string(196, 'a') + std::string(196, 'b');

std::int64_t update_password_once() {
  std::uint32_t status = 0;
  return aaa_update_user_pwd(0x01020304, 0x11223344, "ab", "cde", "", &status);
}

// clang-format off
const ExchangeKind method_list = {
    "method_list", 9, hex("01000000 02000000 04030201 6c6f63616c00"),
    [] { return aaa_mlist_existed(1, 2, 0x01020304, "local"); },
    message_bytes(104, word_bytes(0x11223344)), 0x11223344, {0, 0, 0, 0}};
const ExchangeKind method_list_state = {
    "method_list_state", 18, hex("0a000000 646f743178 00"),
    [] { return aaa_authen_mlist_sta_query(10, "dot1x"); },
    message_bytes(114, word_bytes(0x11223344)), 0x11223344, {0, 0, 0, 0}};
const ExchangeKind server_mib = {
    "server_mib", 12, mib + hex("04030201"),
    [] { return aaa_srv_mib(mib.data(), 0x01020304); },
    message_bytes(107, word_bytes(7)), 7, {-1, -1, -1, -1}};
const ExchangeKind group = {
    "group", 13, hex("44332211 04030201 67727000"),
    [] { return aaa_register_group(0x01020304, "grp", 0x11223344); },
    message_bytes(108, word_bytes(0)), 1, {0, 0, 0, 0}};
const ExchangeKind password = {
    "password", 26, hex("04030201 44332211 02000000 6162 03000000 636465 00000000"),
    update_password_once,
    message_bytes(129, word_bytes(1) + word_bytes(2)), 0, {4, 0, 5, {}}};
// clang-format on

const auto queries = testing::Values(method_list, method_list_state, server_mib, group, password);
INSTANTIATE_TEST_SUITE_P(, Exchanges, queries, row_name);
INSTANTIATE_TEST_SUITE_P(, DirectExchanges, queries, row_name);

// The queries whose answers are a word and nothing else.
class WordAnswers : public Exchanges {};

INSTANTIATE_TEST_SUITE_P(, WordAnswers, testing::Values(method_list, server_mib, group), row_name);

TEST_P(WordAnswers, OfAnotherLengthAreNone) {
  for (const std::size_t length : {0, 1, 3, 5, 8}) {
    for (const char byte : {'\0', '\1'}) {
      const std::string& right = GetParam().answer;
      aaad_answers(message_bytes(word_at(right, 8), std::string(length, byte)));
      EXPECT_EQ(GetParam().results.no_answer, call()) << length << " bytes";
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
  for (const auto& [word, expected] : results) {
    aaad_answers(message_bytes(word_at(kind.answer, 8), word_bytes(word)));
    EXPECT_EQ(expected, kind.call()) << word;
  }
}

}  // namespace
}  // namespace test
