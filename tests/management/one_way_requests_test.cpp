// The management requests that nobody answers.
#include "management/sample_records.h"
#include "support/one_way_scenarios.h"

namespace test {
namespace {

const OneWayKind delete_user = {
    .name = "delete_user",
    .type = 8,
    .display_name = "delete user",
    .id = 0x0a0b0c0d,
    .body = hex("0d0c0b0a 44332211"),
    .call = [] { return std::int64_t{aaa_delete_user(0x0a0b0c0d, 0x11223344)}; },
    .failed = 0,
    .no_memory = 0,
    .not_alive = 0,
    .counters = {{18, 19}},
};
const OneWayKind move_out_delete_user = {
    .name = "move_out_delete_user",
    .type = 34,
    .display_name = "move out delete user",
    .id = 0x0a0b0c0d,
    .body = hex("0d0c0b0a 44332211"),
    .call = [] { return std::int64_t{aaa_move_out_delete_user(0x0a0b0c0d, 0x11223344)}; },
    .failed = 0,
    .no_memory = 0,
    .not_alive = 0,
    .counters = {{18, 19}},
};
const OneWayKind user_syn = {
    .name = "user_syn",
    .type = 10,
    .display_name = "user synchronize",
    .id = 5,
    .body = hex("04030201 05000000 06000000 07000000") + std::string(16, '\0'),
    .call =
        [] {
          const std::uint32_t words[3] = {5, 6, 7};
          return std::int64_t{aaa_user_syn(0x01020304, words)};
        },
};
const OneWayKind restore_user = {
    .name = "restore_user",
    .type = 11,
    .display_name = "restore user",
    .id = 0x0a0b0c0d,
    .body = restored_block(),
    .call =
        [] {
          const restore_user_info record = restorable_user();
          return std::int64_t{aaa_restore_user(&record, 1)};
        },
    .counters = {{20, 21}},
};
const OneWayKind ha_user_syn = {
    .name = "ha_user_syn",
    .type = 20,
    .display_name = "hot backup user sync",
    .id = 5,
    .body = restored_block(),
    .call =
        [] {
          const restore_user_info record = restorable_user();
          return std::int64_t{aaa_ha_user_syn(5, 0, &record, nullptr)};
        },
    .counters = {{22, 23}},
};
const OneWayKind method_result = {
    .name = "method_result",
    .type = 4,
    .display_name = "send rare result",
    .id = 0x0a0b0c0d,
    .body = encoded_body(aaa_encap_result_info, own_result()),
    .call =
        [] {
          result_info record = own_result();
          return std::int64_t{aaa_method_add_result(&record)};
        },
    .failed = -32,
    .no_memory = -12,
    .lines = {{"aaa_method_add_result", "send packet error with errno ", false}},
    .blocks = 2,
};
const OneWayKind group_state = {
    .name = "group_state",
    .type = 16,
    .display_name = "set radius group state",
    .id = 0,
    .body = hex("0100 0400 67727000  0200 0400 04030201"),
    .call =
        [] {
          aaa_set_rds_grp_sta("grp", 0x01020304);
          return std::int64_t{0};
        },
    .failed = 0,
    .no_memory = 0,
    .not_alive = std::nullopt,
    .blocks = 2,
};
const OneWayKind group_state_change = {
    .name = "group_state_change",
    .type = 17,
    .display_name = "radius group state change",
    .id = 0,
    .body = "",
    .call = [] { return std::int64_t{aaa_rds_grp_sta_chg()}; },
    .failed = 0,
    .no_memory = 0,
    .not_alive = std::nullopt,
};
const OneWayKind dot1x_mib = {
    .name = "dot1x_mib",
    .type = 21,
    .display_name = "dot1x mib",
    .id = 0,
    .body = hex("04030201 44332211"),
    .call =
        [] {
          const std::uint32_t words[2] = {0x01020304, 0x11223344};
          return std::int64_t{aaa_mib_from_dot1x(words)};
        },
};
const OneWayKind radext_request = {
    .name = "radext_request",
    .type = 23,
    .display_name = "radext request",
    .id = 0,
    .body = extension_block(),
    .call =
        [] {
          const radext_msg record = extension();
          return std::int64_t{aaa_lib_radext_msg_recv(&record)};
        },
    .sent = 1,
    .failed = 0,
    .no_memory = 0,
    .not_alive = 0,
    .blocks = 2,
};
const OneWayKind radext_result = {
    .name = "radext_result",
    .type = 24,
    .display_name = "radext add result",
    .id = 0,
    .body = hex("01000000 02000000 03000000") + std::string(12, '\0'),
    .call = [] { return std::int64_t{aaa_front_add_radext_result(1, 2, 3)}; },
    .not_alive = std::nullopt,
    .counters = {{25, 26}},
};
const OneWayKind radext_result2 = {
    .name = "radext_result2",
    .type = 24,
    .display_name = "radext add result",
    .id = 4,
    .body = hex("01000000 02000000 03000000 04000000 05000000 06000000"),
    .call =
        [] {
          const std::uint32_t words[6] = {1, 2, 3, 4, 5, 6};
          return std::int64_t{aaa_front_add_radext_result2(words)};
        },
    .not_alive = std::nullopt,
    .counters = {{25, 26}},
};
const OneWayKind password_result = {
    .name = "password_result",
    .type = 27,
    .display_name = "Unknown msg",
    .id = 0x01020304,
    .body = hex("04030201 44332211"),
    .call = [] { return std::int64_t{aaa_add_user_pwd_update_result(0x01020304, 0x11223344)}; },
    .failed = 4,
    .no_memory = 4,
    .not_alive = std::nullopt,
};
const OneWayKind ldap_search = {
    .name = "ldap_search",
    .type = 32,
    .display_name = "ldap search request",
    .id = 0x0a0b0c0d,
    .body = ldap_question_body(),
    .call =
        [] {
          ldap_search_info info = ldap_question();
          return std::int64_t{aaa_user_req_search_ldap_entry(&info)};
        },
    .failed = -32,
    .no_memory = -12,
    .lines = {{"aaa_user_req_search_ldap_entry_sub", "send packet error with errno ", true}},
    .blocks = 2,
};
const OneWayKind ldap_result = {
    .name = "ldap_result",
    .type = 33,
    .display_name = "ldap search result",
    .id = 0x0a0b0c0d,
    .body = ldap_answer_body(),
    .call =
        [] {
          ldap_search_result result = ldap_answer();
          return std::int64_t{aaa_add_ldap_search_result(&result)};
        },
    .failed = -32,
    .no_memory = -12,
    .lines = {{"aaa_add_ldap_search_result", "send packet error with errno ", false}},
    .takes_the_lock = false,
    .blocks = 2,
};

INSTANTIATE_TEST_SUITE_P(, OneWayRequests,
                         testing::Values(delete_user, move_out_delete_user, user_syn, restore_user,
                                         ha_user_syn, method_result, group_state,
                                         group_state_change, dot1x_mib, radext_request,
                                         radext_result, radext_result2, password_result,
                                         ldap_search, ldap_result),
                         one_way_name);

}  // namespace
}  // namespace test
