// The management requests that nobody answers.
#include "management/sample_records.h"
#include "support/one_way_scenarios.h"

namespace test {
namespace {

const restore_user_info sent_user = restorable_user();
const radext_msg sent_message = extension();
const radext_msg empty_message = {};
const std::uint32_t sent_words[] = {1, 2, 3, 4, 5, 6};
result_info sent_result = own_result();
ldap_search_info sent_question = ldap_question();
ldap_search_result sent_answer = ldap_answer();

std::int64_t set_group_state() {
  aaa_set_rds_grp_sta("grp", 0x01020304);
  return 0;
}

const char kSendFailed[] = "send packet error with errno ";

// clang-format off
const OneWayKind one_way_requests[] = {
    {"delete_user", 8, "delete user", 0x0a0b0c0d, hex("0d0c0b0a 44332211"),
     [] { return aaa_delete_user(0x0a0b0c0d, 0x11223344); },
     {0, 0, 0, 0}, 1, {{18, 19}}},
    // Differs in the type only.
    {"move_out_delete_user", 34, "move out delete user", 0x0a0b0c0d, hex("0d0c0b0a 44332211"),
     [] { return aaa_move_out_delete_user(0x0a0b0c0d, 0x11223344); },
     {0, 0, 0, 0}, 1, {{18, 19}}},
    {"user_syn", 10, "user synchronize", 1,
     hex("04030201 01000000 02000000 03000000") + std::string(16, '\0'),
     [] { return aaa_user_syn(0x01020304, sent_words); },
     {0, -1, -1, -1}, 1},
    // Any other flag than 0 restores.
    {"restore_user", 11, "restore user", 0x0a0b0c0d, restored_block(),
     [] { return aaa_restore_user(&sent_user, 0x80000000); },
     {0, -1, -1, -1}, 1, {{20, 21}}},
    // Under the id given, not the record's.
    {"ha_user_syn", 20, "hot backup user sync", 5, restored_block(),
     [] { return aaa_ha_user_syn(5, 0x11223344, &sent_user, nullptr); },
     {0, -1, -1, -1}, 1, {{22, 23}}},
    {"method_result", 4, "send rare result", 0x0a0b0c0d,
     encoded_body(aaa_encap_result_info, own_result()),
     [] { return aaa_method_add_result(&sent_result); },
     {0, -32, -12, -1}, 2, {}, {{"aaa_method_add_result", kSendFailed, false}}},
    {"group_state", 16, "set radius group state", 0,
     hex("0100 0400 67727000  0200 0400 04030201"), set_group_state,
     {0, 0, 0, {}}, 2},
    {"group_state_change", 17, "radius group state change", 0, "", aaa_rds_grp_sta_chg,
     {0, 0, 0, {}}, 1},
    {"dot1x_mib", 21, "dot1x mib", 0, hex("01000000 02000000"),
     [] { return aaa_mib_from_dot1x(sent_words); },
     {0, -1, -1, -1}, 1},
    {"radext_request", 23, "radext request", 0, extension_block(),
     [] { return aaa_lib_radext_msg_recv(&sent_message); },
     {1, 0, 0, 0}, 2},
    // The first 2784 bytes of the block are sent, and zero where the message has nothing.
    {"empty_radext_request", 23, "radext request", 0, zeros(2784),
     [] { return aaa_lib_radext_msg_recv(&empty_message); },
     {1, 0, 0, 0}, 2},
    {"radext_result", 24, "radext add result", 0,
     hex("04030201 08070605 0c0b0a09") + std::string(12, '\0'),
     [] { return aaa_front_add_radext_result(0x01020304, 0x05060708, 0x090a0b0c); },
     {0, -1, -1, {}}, 1, {{25, 26}}},
    {"radext_result2", 24, "radext add result", 4,
     hex("01000000 02000000 03000000 04000000 05000000 06000000"),
     [] { return aaa_front_add_radext_result2(sent_words); },
     {0, -1, -1, {}}, 1, {{25, 26}}},
    {"password_result", 27, "Unknown msg", 0x01020304, hex("04030201 44332211"),
     [] { return aaa_add_user_pwd_update_result(0x01020304, 0x11223344); },
     {0, 4, 4, {}}, 1},
    {"ldap_search", 32, "ldap search request", 0x0a0b0c0d, ldap_question_body(),
     [] { return aaa_user_req_search_ldap_entry(&sent_question); },
     {0, -32, -12, -1}, 2, {}, {{"aaa_user_req_search_ldap_entry_sub", kSendFailed, true}}},
    {"ldap_result", 33, "ldap search result", 0x0a0b0c0d, ldap_answer_body(),
     [] { return aaa_add_ldap_search_result(&sent_answer); },
     {0, -32, -12, -1}, 2, {}, {{"aaa_add_ldap_search_result", kSendFailed, false}}, false},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(, OneWayRequests, testing::ValuesIn(one_way_requests), row_name);

}  // namespace
}  // namespace test
