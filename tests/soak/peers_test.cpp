// An aaad that is slow, silent, confused or stopped: every call of the client that crosses to it
// ends with its stated result, in time, and leaves the library in order.
#include <cerrno>
#include <ostream>

#include "soak/sim_program.h"
#include "soak/stub_aaad.h"

namespace soak {
namespace {

using traffic::Exchange;
using traffic::OneWay;

// What is waited for must come within 10 seconds, and the last wait may have begun just before.
// A request that cannot be written is tried again after a tenth of a second.
constexpr std::uint32_t kDeadline = 10;
constexpr std::uint32_t kLatestEnd = 14;
constexpr std::uint32_t kLatestEndOfRegistration = 26;

enum class Ending { answered, not_answered, other_type };

struct Peer {
  const char* name;
  Behaviour behaviour;
  Ending ending;
  // Library seconds that an exchange takes; the clock stands still unless time passes.
  std::uint32_t at_least = 0;
  std::uint32_t at_most = kDeadline;
};

void PrintTo(const Peer& peer, std::ostream* out) {
  *out << peer.name;
}

constexpr Peer peers[] = {
    {"Good", Behaviour::good, Ending::answered},
    {"ThatReadsByteByByte", Behaviour::reads_byte_wise, Ending::answered},
    {"ThatWritesByteByByte", Behaviour::writes_byte_wise, Ending::answered},
    {"ThatTakesASecondForEachByte", Behaviour::trickles, Ending::not_answered, kDeadline,
     kLatestEnd},
    {"ThatNeverReads", Behaviour::never_reads, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatNeverAnswers", Behaviour::never_writes, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatStopsInTheHeader", Behaviour::stops_in_header, Ending::not_answered, kDeadline,
     kLatestEnd},
    {"ThatStopsInTheBody", Behaviour::stops_in_body, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatAnswersWithAnotherType", Behaviour::other_type, Ending::other_type},
    {"ThatAnswersWithAnotherId", Behaviour::other_id, Ending::answered},
    {"ThatAnswersWithoutTheMarker", Behaviour::other_marker, Ending::answered},
    {"ThatAnswersOnTheEventSocket", Behaviour::other_socket, Ending::not_answered, kDeadline,
     kLatestEnd},
    {"ThatCloses", Behaviour::closes, Ending::not_answered},
};

class ExchangesWithPeer : public StubTest, public testing::WithParamInterface<Peer> {
 protected:
  // A deregistration needs no more than the header of its answer, and fails if it cannot be
  // written.
  static Ending ending(const Exchange& exchange) {
    const Behaviour behaviour = GetParam().behaviour;
    if (exchange.deregisters() && behaviour == Behaviour::stops_in_body) return Ending::answered;
    if (exchange.deregisters() && behaviour == Behaviour::never_reads) return Ending::other_type;
    return GetParam().ending;
  }

  static std::int64_t stated(const Exchange& exchange) {
    switch (ending(exchange)) {
      case Ending::answered:
        return exchange.answered;
      case Ending::not_answered:
        return exchange.not_answered;
      default:
        return exchange.other_type;
    }
  }

  void expect_stated_end(const Exchange& exchange) {
    const std::uint32_t start = test::library_seconds();
    EXPECT_EQ(stated(exchange), exchange.make());
    // A registration that has failed is then tried again by the new receive thread.
    const std::uint32_t end = exchange.registers() ? thread_start() : test::library_seconds();
    EXPECT_GE(end - start, ending(exchange) == Ending::answered ? 0 : GetParam().at_least);
    EXPECT_LE(end - start, GetParam().at_most);
  }
};

TEST_P(ExchangesWithPeer, EndAsStatedAndInTime) {
  for (int round = 0; round < by_length(1, 20); ++round)
    for (const Exchange& exchange : traffic::exchanges()) {
      SCOPED_TRACE(exchange.name);
      begin(GetParam().behaviour, !exchange.registers());
      expect_stated_end(exchange);
      expect_library_in_order();
      end();
    }
}

INSTANTIATE_TEST_SUITE_P(, ExchangesWithPeer, testing::ValuesIn(peers),
                         [](const auto& peer) { return peer.param.name; });

class OneWayCalls : public StubTest {
 protected:
  void expect_all(Behaviour behaviour, std::int64_t OneWay::*stated, std::uint32_t at_least,
                  std::uint32_t at_most) {
    begin(Behaviour::good, false);
    for (const OneWay& call : traffic::one_way_calls()) {
      SCOPED_TRACE(call.name);
      register_client(behaviour);
      const std::uint32_t start = test::library_seconds();
      EXPECT_EQ(call.*stated, call.make());
      EXPECT_GE(test::library_seconds() - start, at_least);
      EXPECT_LE(test::library_seconds() - start, at_most);
      expect_library_in_order();
      test::stop_library();
    }
    end();
  }
};

TEST_F(OneWayCalls, ToAPeerThatNeverReadsFailAsStatedAndInTime) {
  expect_all(Behaviour::never_reads, &OneWay::not_sent, kDeadline, kLatestEnd);
}

TEST_F(OneWayCalls, ToAPeerThatReadsByteByByteAreSent) {
  expect_all(Behaviour::reads_byte_wise, &OneWay::sent, 0, kDeadline);
}

// Stopped by a signal: connections stay, and nothing is answered until it goes on.
class StoppedDaemon : public WatchedTest {
 protected:
  // In the long form the waits last as long as they do for a client.
  void SetUp() override {
    WatchedTest::SetUp();
    if (!is_long()) {
      clock_.shorten_sleeps();
      scripts_.emplace(let_time_pass(clock_, [this] { return time_passes_.load(); }));
    }
    sim_.start();
  }

  void TearDown() override {
    resume();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_THAT(sim_.disorder(), IsEmpty());
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

  // Library seconds that it takes.
  template <class Call>
  static std::uint32_t duration(Call call) {
    const std::uint32_t start = test::library_seconds();
    call();
    return test::library_seconds() - start;
  }

  // Answers that nobody has waited for come late. When a question has got its own answer they have
  // all come.
  static void expect_answers() {
    EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; })) << "not registered";
    const std::uint8_t mib[392] = {};
    std::uint32_t tries = 0;
    EXPECT_TRUE(test::eventually([&] {
      const std::uint32_t question = tries++ % kQuestions;
      return aaa_srv_mib(mib, question) == static_cast<std::int32_t>(kFirstAnswer + question);
    })) << "no answer";
  }

  static std::vector<std::string> options() {
    std::vector<std::string> options = {"--status", "aaa_id_limit=0"};
    for (std::uint32_t question = 0; question < kQuestions; ++question)
      options.insert(options.end(),
                     {"--server-statistic",
                      std::to_string(question) + "=" + std::to_string(kFirstAnswer + question)});
    return options;
  }

  static constexpr std::uint32_t kQuestions = 60;  // more than are under way at a time
  static constexpr std::uint32_t kFirstAnswer = 1000;

  std::atomic<bool> time_passes_ = false;
  test::MovedClock clock_;
  std::optional<test::ScriptedCalls> scripts_;
  SimProgram sim_{directory(), options()};
};

TEST_F(StoppedDaemon, LetsEveryCallEndInTimeAndAnswersWhenItGoesOn) {
  ASSERT_EQ(0, register_client());
  suspend();
  for (const Exchange& exchange : traffic::questions()) {
    SCOPED_TRACE(exchange.name);
    const std::uint32_t seconds =
        duration([&] { EXPECT_EQ(exchange.not_answered, exchange.make()); });
    EXPECT_GE(seconds, kDeadline);
    EXPECT_LE(seconds, kLatestEnd);
  }
  for (const OneWay& call : traffic::one_way_calls())
    EXPECT_EQ(call.sent, call.make()) << call.name;
  result_info* result = nullptr;
  EXPECT_EQ(-EINVAL, aaa_user_get_result(9, 0, 1, &result));
  resume();
  expect_answers();
}

TEST_F(StoppedDaemon, DoesNotKeepAClientRegistered) {
  ASSERT_EQ(0, register_client());
  suspend();
  EXPECT_LE(duration([] { EXPECT_EQ(0, aaa_svr_dereg()); }), kLatestEnd);
  EXPECT_EQ(0, aaa_is_alive());
  resume();
  EXPECT_EQ(0, register_client());
  expect_answers();
}

TEST_F(StoppedDaemon, HoldsUpARegistrationNoLongerThanItsDeadlines) {
  suspend();
  EXPECT_LE(duration([] { EXPECT_EQ(0, register_client()); }), kLatestEndOfRegistration);
  EXPECT_EQ(0, aaa_is_alive());
  resume();
  expect_answers();
}

}  // namespace
}  // namespace soak
