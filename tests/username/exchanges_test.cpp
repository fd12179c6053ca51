// The requests to aaad's local user database that are one exchange, in what they have in common.
#include "support/encoded_body.h"
#include "support/exchange_scenarios.h"
#include "support/result.h"
#include "username_lib.h"

namespace test {
namespace {

local_user_info alice() {
  local_user_info record = {};
  std::snprintf(record.user_name, sizeof record.user_name, "alice");
  return record;
}

template <class Record>
Record local_user() {
  Record record = {};
  record.session_id = 0x01020304;
  record.user_password = {0, 6, "secret"};
  return record;
}

template <class Record, std::int32_t (*request)(Record*, result_info**)>
std::int64_t ask_for_result() {
  Record record = local_user<Record>();
  result_info* result = nullptr;
  const std::int32_t code = request(&record, &result);
  const Result owner(result);
  EXPECT_EQ(code == 0, result != nullptr);
  return code;
}

std::int64_t fetch_alice() {
  local_user_info record = alice();
  return username_lib_copy_user(&record);
}

std::int64_t update_alice() {
  const local_user_info record = alice();
  return username_lib_update_user(&record);
}

const std::string empty_result = encoded_body(aaa_encap_result_info, result_info{});

// clang-format off
const ExchangeKind direct[] = {
    {"password_change", 117, hex("0100 0100 61  0200 0200 6262  0300 0000"),
     [] { return username_lib_chg_pwd("a", "bb", ""); },
     message_bytes(117, word_bytes(7)), 7, {-5, 7, -5, -5}},
    {"grant", 118, hex("0100 0100 61  0200 0200 6262  0300 0400 04030201"),
     [] { return username_lib_fs_grant_req("a", "bb", 0x01020304); },
     message_bytes(118, word_bytes(13)), -13, {-1, -13, -1, -3}},
    {"password_security", 22, hex("0100 0100 61  0200 0200 6262"),
     [] { return username_lib_query_pwd_secu("a", "bb"); },
     message_bytes(124, word_bytes(7)), 7, {-2, -3, -3, -2}},
    {"fetch", 119, "alice", fetch_alice,
     message_bytes(119, hex("02000000 0c000000 07000000")), 0, {-3, -3, -3, -3}},
    {"update", 120,
     hex("01000000 0d000000 616c696365 02000000 0c000000 00000000 05000000 0c000000 00000000"
         "0a000000 0c000000 00000000 0c000000 0c000000 00000000 14000000 0c000000 00000000"
         "0d000000 0c000000 00000000"),
     update_alice, message_bytes(120, "\1"), 0, {-3, 0, -3, -3}},
};
const ExchangeKind queued[] = {
    {"authentication", 115, encoded_body(aaa_encap_authen_info, local_user<authen_info>()),
     ask_for_result<authen_info, username_lib_authen_req>,
     message_bytes(115, empty_result), 0, {-1, -1, -1, -1}, 0x01020304},
    {"authorization", 116, encoded_body(aaa_encap_author_info, local_user<author_info>()),
     ask_for_result<author_info, username_lib_author_req>,
     message_bytes(116, empty_result), 0, {-1, -1, -1, -1}, 0x01020304},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(, DirectExchanges, testing::ValuesIn(direct), row_name);
INSTANTIATE_TEST_SUITE_P(Local, Exchanges, testing::ValuesIn(direct), row_name);
INSTANTIATE_TEST_SUITE_P(ForResult, Exchanges, testing::ValuesIn(queued), row_name);

TEST_P(Exchanges, CountAndTimeNothing) {
  const LibraryCounters counters;
  EXPECT_EQ(GetParam().success, answered_call());
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().results.no_answer, call());
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_P(Exchanges, DoNotWaitForAnAnswerWhenTheSendFails) {
  int reads = 0;
  script({.recv = [&](int, void*, std::size_t, int) {
    ++reads;
    return std::optional<ssize_t>();
  }});
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().results.no_answer, call());
  EXPECT_EQ(0, reads);
}

}  // namespace
}  // namespace test
