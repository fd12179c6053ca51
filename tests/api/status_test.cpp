// The getters of aaad's settings.
#include <functional>
#include <utility>
#include <vector>

#include "support/linked_test.h"
#include "support/locked_state.h"

namespace test {
namespace {

struct Getter {
  const char* name;
  std::function<std::int64_t()> get;
  std::size_t word;  // of g_aaa_status
  // What a stored word is returned as.
  std::vector<std::pair<std::uint32_t, std::int64_t>> values;
};

const std::vector<std::pair<std::uint32_t, std::int64_t>> kAsStored = {
    {0, 0}, {1, 1}, {2, 2}, {0x80000000, 0x80000000}, {0xffffffff, 0xffffffff}};
const std::vector<std::pair<std::uint32_t, std::int64_t>> kOneOrZero = {
    {0, 0}, {1, 1}, {2, 1}, {0x80000000, 1}, {0xffffffff, 1}};

const Getter kGetters[] = {
    {"new_model", aaa_get_new_model_status, 0, kOneOrZero},
    {"acct_period",
     aaa_get_acct_period,
     1,
     {{0, 0}, {600, 600}, {0x7fffffff, 0x7fffffff}, {0x80000000, 0}, {0xfffffffb, 0}}},
    {"acct_status", aaa_get_acct_status, 2, kOneOrZero},
    {"pro_status", aaa_get_pro_status, 5, kAsStored},
    {"local_user_public_account",
     aaa_is_local_user_public_account_allowed,
     6,
     {{0, 0}, {1, 1}, {2, 0}, {0x101, 0}, {0xffffffff, 0}}},
    {"acct_start_fail_policy", aaa_get_acct_start_fail_policy, 7, kAsStored},
    {"login_service_check_mode", aaa_get_login_service_check_mode, 8, kAsStored},
};

std::uint32_t& status_word(std::size_t n) {
  return reinterpret_cast<std::uint32_t*>(&g_aaa_status)[n];
}

class StatusGetters : public LinkedTest, public testing::WithParamInterface<Getter> {};

INSTANTIATE_TEST_SUITE_P(, StatusGetters, testing::ValuesIn(kGetters), row_name);

TEST_P(StatusGetters, ReturnTheirWordWhenRegisteredAndTouchNothing) {
  const LibraryCounters counters;
  for (const auto& [stored, returned] : GetParam().values) {
    status_word(GetParam().word) = stored;
    EXPECT_EQ(returned, GetParam().get()) << "stored " << stored;
    EXPECT_EQ(stored, status_word(GetParam().word));
  }
  EXPECT_TRUE(writes().empty());
  EXPECT_TRUE(counters.all_unchanged());
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_P(StatusGetters, LookAtNoOtherWord) {
  for (std::size_t n = 0; n < 10; ++n)
    status_word(n) = n == GetParam().word || n == 3 ? 0 : 1;
  EXPECT_EQ(0, GetParam().get());
}

TEST_P(StatusGetters, Return0AndALineInEveryStateButRegistered) {
  status_word(GetParam().word) = 1;
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    set_reg_state(state);
    const OpenLog log;
    EXPECT_EQ(0, GetParam().get()) << state;
    log.expect("aaa_is_alive", "already unregistered or not registered or is connecting!\r\n");
  }
}

}  // namespace
}  // namespace test
