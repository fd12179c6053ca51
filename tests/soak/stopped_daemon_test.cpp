// An aaad that is stopped by a signal and goes on later: connections stay, and nothing is answered.
#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "soak/client_calls.h"
#include "soak/short_timeouts.h"
#include "soak/sim_program.h"
#include "soak/soak_test.h"

namespace soak {
namespace {

// More than are under way at a time.
constexpr std::uint32_t kQuestions = 60;
constexpr std::uint32_t kFirstAnswer = 1000;

constexpr std::uint32_t kExchangeEnds = 10;
constexpr std::uint32_t kExchangeEndsAtTheLatest = 14;
constexpr std::uint32_t kRegistrationEndsAtTheLatest = 26;

class StoppedDaemon : public WatchedTest {
 protected:
  // In the long form the waits last as long as they do for a client.
  void SetUp() override {
    WatchedTest::SetUp();
    if (!is_long()) {
      clock_.shorten_sleeps();
      scripts_.emplace(let_time_pass(clock_, time_passes_));
    }
    sim_.start();
  }

  void TearDown() override {
    resume();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_THAT(sim_.disorder(), testing::IsEmpty());
    sim_.kill();
    WatchedTest::TearDown();
  }

  void suspend() {
    sim_.suspend();
    time_passes_ = true;
  }

  void resume() {
    time_passes_ = false;
    sim_.resume();
  }

  static std::int32_t register_client() {
    const reg_info info = test::client("stopped");
    return aaa_svr_reg(&info);
  }

  void expect_not_answered(const Exchange& exchange) {
    SCOPED_TRACE(exchange.name);
    const std::uint32_t start = test::library_seconds();
    EXPECT_EQ(exchange.not_answered, exchange.make());
    EXPECT_GE(test::library_seconds() - start, kExchangeEnds);
    EXPECT_LE(test::library_seconds() - start, kExchangeEndsAtTheLatest);
  }

  // Answers that nobody has waited for come late. When a question has got its own answer they have
  // all come.
  static void expect_answers() {
    EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; }));
    const std::uint8_t mib[392] = {};
    std::uint32_t tries = 0;
    EXPECT_TRUE(test::eventually([&] {
      const std::uint32_t question = tries++ % kQuestions;
      return aaa_srv_mib(mib, question) == static_cast<std::int32_t>(kFirstAnswer + question);
    }));
  }

  static std::vector<std::string> options() {
    std::vector<std::string> options = {"--status", "aaa_id_limit=0"};
    for (std::uint32_t question = 0; question < kQuestions; ++question)
      options.insert(options.end(),
                     {"--server-statistic",
                      std::to_string(question) + "=" + std::to_string(kFirstAnswer + question)});
    return options;
  }

  std::atomic<bool> time_passes_ = false;
  test::MovedClock clock_;
  std::optional<test::ScriptedCalls> scripts_;
  SimProgram sim_{directory(), options()};
};

TEST_F(StoppedDaemon, LetsEveryCallEndInTimeAndAnswersWhenItGoesOn) {
  ASSERT_EQ(0, register_client());
  suspend();
  for (const Exchange& exchange : exchanges())
    if (!std::string_view(exchange.name).starts_with("aaa_svr")) expect_not_answered(exchange);
  for (const OneWay& call : one_way_calls())
    EXPECT_EQ(call.sent, call.make()) << call.name;
  result_info* result = nullptr;
  EXPECT_EQ(-EINVAL, aaa_user_get_result(9, 0, 1, &result));
  resume();
  expect_answers();
}

TEST_F(StoppedDaemon, DoesNotKeepAClientRegistered) {
  ASSERT_EQ(0, register_client());
  suspend();
  const std::uint32_t start = test::library_seconds();
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_LE(test::library_seconds() - start, kExchangeEndsAtTheLatest);
  EXPECT_EQ(0, aaa_is_alive());
  resume();
  EXPECT_EQ(0, register_client());
  expect_answers();
}

TEST_F(StoppedDaemon, HoldsUpARegistrationNoLongerThanItsDeadlines) {
  suspend();
  const std::uint32_t start = test::library_seconds();
  EXPECT_EQ(0, register_client());
  EXPECT_LE(test::library_seconds() - start, kRegistrationEndsAtTheLatest);
  EXPECT_EQ(0, aaa_is_alive());
  resume();
  expect_answers();
}

}  // namespace
}  // namespace soak
