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

const ExchangeKind password_change = {
    .name = "password_change",
    .type = 117,
    .body = hex("0100 0100 61  0200 0200 6262  0300 0000"),
    .call = [] { return std::int64_t{username_lib_chg_pwd("a", "bb", "")}; },
    .answer = message_bytes(117, word_bytes(7)),
    .success = 7,
    .no_answer = -5,
    .other_type = 7,
    .not_alive = -5,
    .no_memory = -5,
};
const ExchangeKind grant = {
    .name = "grant",
    .type = 118,
    .body = hex("0100 0100 61  0200 0200 6262  0300 0400 04030201"),
    .call = [] { return std::int64_t{username_lib_fs_grant_req("a", "bb", 0x01020304)}; },
    .answer = message_bytes(118, word_bytes(13)),
    .success = -13,
    .no_answer = -1,
    .other_type = -13,
    .not_alive = -3,
    .no_memory = -1,
};
const ExchangeKind password_security = {
    .name = "password_security",
    .type = 22,
    .body = hex("0100 0100 61  0200 0200 6262"),
    .call = [] { return std::int64_t{username_lib_query_pwd_secu("a", "bb")}; },
    .answer = message_bytes(124, word_bytes(7)),
    .success = 7,
    .no_answer = -2,
    .other_type = -3,
    .not_alive = -2,
    .no_memory = -3,
};
const ExchangeKind fetch = {
    .name = "fetch",
    .type = 119,
    .body = "alice",
    .call =
        [] {
          local_user_info record = alice();
          return std::int64_t{username_lib_copy_user(&record)};
        },
    .answer = message_bytes(119, hex("02000000 0c000000 07000000")),
    .success = 0,
    .no_answer = -3,
    .other_type = -3,
    .not_alive = -3,
    .no_memory = -3,
};
const ExchangeKind update = {
    .name = "update",
    .type = 120,
    .body = hex("01000000 0d000000 616c696365"
                "02000000 0c000000 00000000"
                "05000000 0c000000 00000000"
                "0a000000 0c000000 00000000"
                "0c000000 0c000000 00000000"
                "14000000 0c000000 00000000"
                "0d000000 0c000000 00000000"),
    .call =
        [] {
          const local_user_info record = alice();
          return std::int64_t{username_lib_update_user(&record)};
        },
    .answer = message_bytes(120, "\1"),
    .success = 0,
    .no_answer = -3,
    .other_type = 0,
    .not_alive = -3,
    .no_memory = -3,
};

const ExchangeKind authentication = {
    .name = "authentication",
    .type = 115,
    .body = encoded_body(aaa_encap_authen_info, local_user<authen_info>()),
    .call = ask_for_result<authen_info, username_lib_authen_req>,
    .answer = message_bytes(115, encoded_body(aaa_encap_result_info, result_info{})),
    .success = 0,
    .no_answer = -1,
    .other_type = -1,
    .not_alive = -1,
    .no_memory = -1,
    .id = 0x01020304,
};
const ExchangeKind authorization = {
    .name = "authorization",
    .type = 116,
    .body = encoded_body(aaa_encap_author_info, local_user<author_info>()),
    .call = ask_for_result<author_info, username_lib_author_req>,
    .answer = message_bytes(116, encoded_body(aaa_encap_result_info, result_info{})),
    .success = 0,
    .no_answer = -1,
    .other_type = -1,
    .not_alive = -1,
    .no_memory = -1,
    .id = 0x01020304,
};

INSTANTIATE_TEST_SUITE_P(, Exchanges,
                         testing::Values(password_change, grant, password_security, fetch, update,
                                         authentication, authorization),
                         exchange_name);
INSTANTIATE_TEST_SUITE_P(, DirectExchanges,
                         testing::Values(password_change, grant, password_security, fetch, update),
                         exchange_name);

TEST_P(Exchanges, CountAndTimeNothing) {
  const LibraryCounters counters;
  EXPECT_EQ(GetParam().success, answered_call());
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().no_answer, call());
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_P(Exchanges, DoNotWaitForAnAnswerWhenTheSendFails) {
  int reads = 0;
  script({.recv = [&](int, void*, std::size_t, int) {
    ++reads;
    return std::optional<ssize_t>();
  }});
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().no_answer, call());
  EXPECT_EQ(0, reads);
}

}  // namespace
}  // namespace test
