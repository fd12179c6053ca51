// The requests to aaad's local user database that are one exchange, in what they have in common.
#include "support/exchange_scenarios.h"
#include "username_lib.h"

namespace test {
namespace {

local_user_info alice() {
  local_user_info record = {};
  std::snprintf(record.user_name, sizeof record.user_name, "alice");
  return record;
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

INSTANTIATE_TEST_SUITE_P(, Exchanges,
                         testing::Values(password_change, grant, password_security, fetch, update),
                         exchange_name);

}  // namespace
}  // namespace test
