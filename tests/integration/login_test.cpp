// A user's way from the request to the result, however the client wants to get it.
#include "support/login.h"
#include "support/library_counters.h"

namespace {

using aaa_sim::received;
using aaa_sim::Verdict;
using test::ResultBy;

struct Way {
  const char* name;
  ResultBy result_by;
  bool batching;
};

std::ostream& operator<<(std::ostream& out, const Way& way) {
  return out << way.name;
}

class Login : public test::SimulatedTest, public testing::WithParamInterface<Way> {
 protected:
  void SetUp() override {
    SimulatedTest::SetUp();
    clock_.shorten_sleeps();
    test::forgo_heartbeats(sim_);
    sim_.add_user(test::alice());
    sim_.add_user({.name = "bob",
                   .password = "secret",
                   .reply_message = "Hello",
                   .class_attribute = "vip",
                   .session_timeout = 600});
    sim_.add_user({.name = "carol",
                   .password = "secret",
                   .verdict = Verdict::reject,
                   .reply_message = "Not today"});
    sim_.add_user({.name = "dave",
                   .password = "secret",
                   .verdict = Verdict::challenge,
                   .reply_message = "Code?",
                   .state = "round-1",
                   .eap_message = "eap-1"});
    register_client(test::client_with(GetParam().result_by, GetParam().batching));
  }

  static test::Verdict log_in(const char* name, const char* password, const char* state = "") {
    return test::log_in(name, password, GetParam().result_by, state);
  }
  template <class Record>
  static test::Verdict result_of(std::int32_t (*request)(Record*)) {
    Record record = {};
    record.session_id = aaa_get_session_id();
    EXPECT_EQ(0, request(&record));
    return test::result_of_session(record.session_id, GetParam().result_by);
  }

  test::MovedClock clock_;
};

INSTANTIATE_TEST_SUITE_P(, Login,
                         testing::Values(Way{"Waiting", ResultBy::waiting, false},
                                         Way{"WaitingBatched", ResultBy::waiting, true},
                                         Way{"CalledBack", ResultBy::callback, false},
                                         Way{"CalledBackBatched", ResultBy::callback, true}),
                         [](const auto& way) { return way.param.name; });

TEST_P(Login, TheRightPasswordIsAccepted) {
  const test::Verdict verdict = log_in("alice", "secret");
  EXPECT_EQ(test::kAccepted, verdict.code);
  EXPECT_EQ("alice", verdict.user);
}

TEST_P(Login, AnAcceptanceBringsItsAttributes) {
  const test::Verdict verdict = log_in("bob", "secret");
  EXPECT_EQ(test::kAccepted, verdict.code);
  EXPECT_EQ("Hello", verdict.reply_message);
  EXPECT_EQ("vip", verdict.class_attribute);
  EXPECT_EQ(600u, verdict.session_timeout);
}

TEST_P(Login, AWrongPasswordIsRejectedWithAReplyMessage) {
  const test::Verdict verdict = log_in("alice", "wrong");
  EXPECT_EQ(test::kRejected, verdict.code);
  EXPECT_EQ("Access denied", verdict.reply_message);
}

TEST_P(Login, ARejectionBringsItsReplyMessage) {
  const test::Verdict verdict = log_in("carol", "secret");
  EXPECT_EQ(test::kRejected, verdict.code);
  EXPECT_EQ("Not today", verdict.reply_message);
}

TEST_P(Login, AChallengeIsAnsweredInASecondRound) {
  const test::Verdict challenge = log_in("dave", "secret");
  EXPECT_EQ(test::kChallenged, challenge.code);
  EXPECT_EQ("Code?", challenge.reply_message);
  EXPECT_EQ("round-1", challenge.state);
  EXPECT_EQ("eap-1", challenge.eap_message);
  EXPECT_EQ(test::kAccepted, log_in("dave", "secret", challenge.state.c_str()).code);
}

TEST_P(Login, AChallengeAnsweredWithAnotherStateIsRejected) {
  EXPECT_EQ(test::kChallenged, log_in("dave", "secret").code);
  EXPECT_EQ(test::kRejected, log_in("dave", "secret", "round-2").code);
}

TEST_P(Login, AuthorizationAndAccountingGetTheirResults) {
  EXPECT_EQ(test::kAccepted, result_of(aaa_user_req_author).code);
  EXPECT_EQ(test::kAccepted, result_of(aaa_user_req_acct).code);
}

TEST_P(Login, ResultsAreCountedByTheWayTheyTake) {
  const test::LibraryCounters counters;
  log_in("alice", "secret");
  const bool by_callback = GetParam().result_by == ResultBy::callback;
  EXPECT_EQ(by_callback ? 1u : 0u, counters.grown(16));
  EXPECT_EQ(by_callback ? 0u : 1u, counters.grown(17));
}

TEST_P(Login, ABatchingClientsRequestsComeInABatch) {
  log_in("alice", "secret");
  const auto message = sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
  ASSERT_TRUE(message.has_value());
  EXPECT_EQ(GetParam().batching, message->in_batch);
  EXPECT_EQ(aaa_sim::Role::request, message->role);
}

TEST_P(Login, ResultsOfManySessionsAreToldApart) {
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(test::kAccepted, log_in("alice", "secret").code);
    EXPECT_EQ(test::kRejected, log_in("alice", "wrong").code);
  }
}

TEST_P(Login, AClearedRequestIsToldToAaad) {
  EXPECT_EQ(0, aaa_clear_req_user(0x01020304));
  const auto message = sim_.wait_for_message(received(AAA_MSG_CLEAR_USER));
  ASSERT_TRUE(message.has_value());
  EXPECT_EQ((aaa_sim::Bytes{1, 2, 3, 4}),
            aaa_sim::Bytes(message->body().begin(), message->body().end()));
}

}  // namespace
