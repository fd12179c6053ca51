// The connection record and the status record.
#include <cstddef>

#include "session/session_test.h"

namespace test::records {

struct Words {
  aaa_client_cb cb = g_aaa_client_cb;
  aaa_status status = g_aaa_status;
};
const Words at_load;

constexpr std::size_t kPointer = sizeof(void*);
constexpr std::size_t callback(std::size_t n) {
  return 80 + n * kPointer;
}

static_assert(offsetof(aaa_client_cb, model_name) == 0);
static_assert(offsetof(aaa_client_cb, sync_fd) == 64);
static_assert(offsetof(aaa_client_cb, async_fd) == 68);
static_assert(offsetof(aaa_client_cb, aaa_id) == 72);
static_assert(offsetof(aaa_client_cb, reg_state) == 76);
static_assert(offsetof(aaa_client_cb, notify_result_cb) == callback(0));
static_assert(offsetof(aaa_client_cb, notify_del_msg_cb) == callback(1));
static_assert(offsetof(aaa_client_cb, notify_coa_req_cb) == callback(2));
static_assert(offsetof(aaa_client_cb, reserved_cb) == callback(3));
static_assert(offsetof(aaa_client_cb, aaa_event_cb) == callback(4));
static_assert(offsetof(aaa_client_cb, ldap_search_result_cb) == callback(5));
static_assert(offsetof(aaa_client_cb, authen_group_req_cb) == callback(6));
static_assert(offsetof(aaa_client_cb, author_group_req_cb) == callback(7));
static_assert(offsetof(aaa_client_cb, acct_group_req_cb) == callback(8));
static_assert(offsetof(aaa_client_cb, del_msg_req_cb) == callback(9));
static_assert(offsetof(aaa_client_cb, gs_valid_req_cb) == callback(10));
static_assert(offsetof(aaa_client_cb, get_online_info_cb) == callback(11));
static_assert(offsetof(aaa_client_cb, enable_authen_cb) == callback(12));
static_assert(offsetof(aaa_client_cb, add_radext_result_cb) == callback(13));
static_assert(offsetof(aaa_client_cb, localeap_authen_cb) == callback(14));
static_assert(offsetof(aaa_client_cb, ldap_search_entry_req_cb) == callback(15));
static_assert(sizeof(aaa_client_cb) == callback(16));

constexpr std::size_t first = (65 + kPointer - 1) / kPointer * kPointer;
static_assert(offsetof(reg_info, use_send_buf) == 0);
static_assert(offsetof(reg_info, model_name) == 1);
static_assert(offsetof(reg_info, notify_result_cb) == first);
static_assert(offsetof(reg_info, reserved_cb) == first + kPointer);
static_assert(offsetof(reg_info, notify_del_msg_cb) == first + 2 * kPointer);
static_assert(offsetof(reg_info, notify_coa_req_cb) == first + 3 * kPointer);
static_assert(offsetof(reg_info, ldap_search_result_cb) == first + 4 * kPointer);
static_assert(offsetof(reg_info, authen_group_req_cb) == first + 5 * kPointer);
static_assert(offsetof(reg_info, author_group_req_cb) == first + 6 * kPointer);
static_assert(offsetof(reg_info, acct_group_req_cb) == first + 7 * kPointer);
static_assert(offsetof(reg_info, del_msg_req_cb) == first + 8 * kPointer);
static_assert(offsetof(reg_info, gs_valid_req_cb) == first + 9 * kPointer);
static_assert(offsetof(reg_info, get_online_info_cb) == first + 10 * kPointer);
static_assert(offsetof(reg_info, enable_authen_cb) == first + 11 * kPointer);
static_assert(offsetof(reg_info, add_radext_result_cb) == first + 12 * kPointer);
static_assert(offsetof(reg_info, localeap_authen_cb) == first + 13 * kPointer);
static_assert(offsetof(reg_info, ldap_search_entry_req_cb) == first + 14 * kPointer);
static_assert(offsetof(reg_info, aaa_event_cb) == first + 15 * kPointer);
static_assert(offsetof(reg_info, bind_core_id) == first + 16 * kPointer);

static_assert(sizeof(aaa_status) == 40);
static_assert(offsetof(aaa_status, new_model) == 0);
static_assert(offsetof(aaa_status, acct_period) == 4);
static_assert(offsetof(aaa_status, acct_status) == 8);
static_assert(offsetof(aaa_status, debug) == 12);
static_assert(offsetof(aaa_status, debug_msg_limit) == 16);
static_assert(offsetof(aaa_status, pro_status) == 20);
static_assert(offsetof(aaa_status, local_user_public_account) == 24);
static_assert(offsetof(aaa_status, acct_start_fail_policy) == 28);
static_assert(offsetof(aaa_status, login_service_check_mode) == 32);
static_assert(offsetof(aaa_status, aaa_id_limit) == 36);

class Records : public LibraryTest {};

TEST_F(Records, AtLoadTheClientIsNotRegisteredAndHasNoCallbacks) {
  const aaa_client_cb zero = {};
  EXPECT_STREQ("", at_load.cb.model_name);
  EXPECT_EQ(-1, at_load.cb.sync_fd);
  EXPECT_EQ(-1, at_load.cb.async_fd);
  EXPECT_EQ(0, at_load.cb.aaa_id);
  EXPECT_EQ(1, at_load.cb.reg_state);
  EXPECT_EQ(0, std::memcmp(&zero.notify_result_cb, &at_load.cb.notify_result_cb, 16 * kPointer));
}

TEST_F(Records, AtLoadEveryStatusWordIsZero) {
  const aaa_status zero = {};
  EXPECT_EQ(0, std::memcmp(&zero, &at_load.status, sizeof zero));
}

TEST_F(Records, OnlyState4IsAliveAndAnyOtherIsReported) {
  for (const std::int32_t state : {0, 1, 2, 3, 4, 5, 6, -1}) {
    const OpenLog log;
    aaa::store(g_aaa_client_cb.reg_state, state);
    EXPECT_EQ(state == 4 ? 1 : 0, aaa_is_alive()) << state;
    EXPECT_EQ(state == 4 ? 0u : 1u, log.lines().size()) << state;
    if (state == 4) continue;
    EXPECT_EQ("already unregistered or not registered or is connecting!\r\n", log.messages()[0]);
    EXPECT_EQ("aaa_is_alive", log.functions()[0]);
  }
  aaa::store(g_aaa_client_cb.reg_state, 1);
}

}  // namespace test::records
