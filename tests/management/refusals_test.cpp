// Management requests with arguments that are refused: null, an unknown kind, a zero flag.
#include <functional>
#include <optional>

#include "management/sample_records.h"
#include "session/state/client_state.h"
#include "support/library_counters.h"
#include "support/locked_state.h"
#include "support/open_log.h"
#include "support/table_row.h"

namespace test {

// Outside of the namespace without a name, so that its row's name is printed and not its bytes.
struct Refusal {
  std::string name;
  std::function<std::int64_t()> call;
  std::int64_t result;
  // Without a registration, where that is asked for first.
  std::optional<std::int64_t> not_alive = {};
  // The counters that grow, each by 1, while registered.
  std::vector<std::size_t> counters = {};
};

namespace {

std::int64_t update_password(const char* name, const char* old_password, const char* new_password) {
  std::uint32_t status = 0xeeeeeeee;
  const auto result = aaa_update_user_pwd(1, 2, name, old_password, new_password, &status);
  EXPECT_EQ(0xeeeeeeeeu, status);
  return result;
}

std::int64_t restore_with_flag_0() {
  const restore_user_info user = restorable_user();
  return aaa_restore_user(&user, 0);
}

std::int64_t state_of_null_group() {
  aaa_set_rds_grp_sta(nullptr, 3);
  return 0;
}

const Refusal refusals[] = {
    {"method_result", [] { return aaa_method_add_result(nullptr); }, -22, -1},
    {"ldap_question", [] { return aaa_user_req_search_ldap_entry(nullptr); }, -22},
    {"ldap_answer", [] { return aaa_add_ldap_search_result(nullptr); }, -22},
    {"synchronised_words", [] { return aaa_user_syn(1, nullptr); }, -22, -1},
    {"restored_user", [] { return aaa_restore_user(nullptr, 1); }, -1, -1, {20, 21}},
    {"restored_with_flag_0", restore_with_flag_0, -1, -1, {20, 21}},
    {"radext_message", [] { return aaa_lib_radext_msg_recv(nullptr); }, 0, 0},
    {"radext_words", [] { return aaa_front_add_radext_result2(nullptr); }, -1, {}, {25, 26}},
    {"mib", [] { return aaa_srv_mib(nullptr, 1); }, -1, -1},
    {"words_of_8021x", [] { return aaa_mib_from_dot1x(nullptr); }, -1, -1},
    {"group", [] { return aaa_register_group(1, nullptr, 2); }, 0, 0},
    {"group_state", state_of_null_group, 0},
    {"method_list", [] { return aaa_mlist_existed(1, 2, 3, nullptr); }, 0, 0, {12}},
    {"kind_11", [] { return aaa_authen_mlist_sta_query(11, "x"); }, 0, 0},
    {"kind_11_without_name", [] { return aaa_authen_mlist_sta_query(11, nullptr); }, 0, 0},
    {"largest_kind", [] { return aaa_authen_mlist_sta_query(0xffffffff, "x"); }, 0, 0},
    {"updated_user", [] { return update_password(nullptr, "b", "c"); }, 2},
    {"old_password", [] { return update_password("a", nullptr, "c"); }, 2},
    {"new_password", [] { return update_password("a", "b", nullptr); }, 2},
    {"status", [] { return aaa_update_user_pwd(1, 2, "a", "b", "c", nullptr); }, 2},
};

class Refusals : public LinkedTest, public testing::WithParamInterface<Refusal> {};

INSTANTIATE_TEST_SUITE_P(, Refusals, testing::ValuesIn(refusals), row_name);

TEST_P(Refusals, SendAndLogNothingAndCountAsStated) {
  const LibraryCounters counters;
  const OpenLog log;
  EXPECT_EQ(GetParam().result, GetParam().call());
  EXPECT_TRUE(writes().empty());
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(0u, counters.blocks_allocated());
  for (std::size_t n = 0; n < LibraryCounters::kWords; ++n)
    EXPECT_EQ(std::ranges::count(GetParam().counters, n), counters.grown(n)) << "counter " << n;
}

TEST_P(Refusals, AskForTheRegistrationFirstOrNotAtAll) {
  test::set_reg_state(AAA_REG_LOST);
  const LibraryCounters counters;
  const OpenLog log;
  EXPECT_EQ(GetParam().not_alive.value_or(GetParam().result), GetParam().call());
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(GetParam().not_alive ? 1u : 0u,
            log.count("already unregistered or not registered or is connecting!\r\n"));
  EXPECT_TRUE(!GetParam().not_alive || counters.all_unchanged());
}

}  // namespace
}  // namespace test
