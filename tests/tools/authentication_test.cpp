// How requests about users are judged.
#include <memory>

#include "sim_fixture.h"
#include "user_request.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::Verdict;

std::string text_of(const aaa_item& item) {
  return {static_cast<const char*>(item.value), item.len};
}

class AuthenticationTest : public ClientTest {
 protected:
  // Sends the attempt for session 100 and stores the result.
  void attempt(const Attempt& attempt) { ask(request_body(100, attempt)); }

  void ask(const Bytes& body) {
    client_.request.send(aaa_sim::to_bytes(aaa_sim::make_frame(AAA_MSG_AUTHEN_REQ, 100, body)));
    answer_ = client_.event.receive_message();
    ASSERT_GE(answer_.size(), 16u) << "no result";
    EXPECT_EQ(word_at(answer_, 4), 100u) << "header id";
    EXPECT_EQ(word_at(answer_, 8), 103u) << "type";
    result_info* record = nullptr;
    aaa_parse_result_info(&record, answer_.data() + 16,
                          static_cast<std::int32_t>(answer_.size() - 16));
    result_.reset(record);
    ASSERT_TRUE(result_);
    EXPECT_EQ(result_->sub.session_id, 100u);
  }

  struct Release {
    void operator()(result_info* record) const { aaa_free_result_info(record); }
  };

  Bytes answer_;
  std::unique_ptr<result_info, Release> result_;
};

TEST_F(AuthenticationTest, RightPasswordIsAcceptedWithTheUsersAttributes) {
  sim_.add_user({.name = "alice",
                 .password = "secret",
                 .reply_message = "Welcome",
                 .class_attribute = "staff",
                 .session_timeout = 3600});
  attempt({"alice", "secret", ""});
  EXPECT_EQ(result_->sub.num_a, 0u);
  EXPECT_EQ(result_->sub.num_b, 3600u);
  EXPECT_STREQ(result_->sub.chars65_a, "alice");
  EXPECT_EQ(text_of(result_->class_), "staff");
  EXPECT_EQ(text_of(result_->reply_message), "Welcome");
}

TEST_F(AuthenticationTest, WrongPasswordIsRejectedWithAReplyMessage) {
  sim_.add_user({.name = "alice", .password = "secret", .class_attribute = "staff"});
  attempt({"alice", "guess", ""});
  EXPECT_EQ(result_->sub.num_a, 1u);
  EXPECT_EQ(text_of(result_->reply_message), "Access denied");
  EXPECT_EQ(result_->class_.len, 0u);
}

TEST_F(AuthenticationTest, UnknownUserIsRejected) {
  attempt({"nobody", "secret", ""});
  EXPECT_EQ(result_->sub.num_a, 1u);
  EXPECT_EQ(text_of(result_->reply_message), "Unknown user");
}

TEST_F(AuthenticationTest, UserToRejectIsRejectedWithTheRightPassword) {
  sim_.add_user({.name = "mallory",
                 .password = "secret",
                 .verdict = Verdict::reject,
                 .reply_message = "Account locked"});
  attempt({"mallory", "secret", ""});
  EXPECT_EQ(result_->sub.num_a, 1u);
  EXPECT_EQ(text_of(result_->reply_message), "Account locked");
}

class ChallengeTest : public AuthenticationTest {
 protected:
  ChallengeTest() {
    sim_.add_user({.name = "bob",
                   .password = "code",
                   .verdict = Verdict::challenge,
                   .state = "step-2",
                   .eap_message = "request"});
  }
};

TEST_F(ChallengeTest, FirstRequestIsChallengedWithStateAndEapMessage) {
  attempt({"bob", "", ""});
  EXPECT_EQ(result_->sub.num_a, 3u);
  EXPECT_EQ(text_of(result_->state), "step-2");
  EXPECT_EQ(text_of(result_->eap_message), "request");
}

TEST_F(ChallengeTest, StateAndRightPasswordAreAccepted) {
  attempt({"bob", "code", "step-2"});
  EXPECT_EQ(result_->sub.num_a, 0u);
}

TEST_F(ChallengeTest, StateWithWrongPasswordIsRejected) {
  attempt({"bob", "guess", "step-2"});
  EXPECT_EQ(result_->sub.num_a, 1u);
}

TEST_F(ChallengeTest, OtherStateIsRejected) {
  attempt({"bob", "code", "step-1"});
  EXPECT_EQ(result_->sub.num_a, 1u);
}

TEST_F(AuthenticationTest, UnreadableRequestIsRejected) {
  ask(Bytes(1183));
  EXPECT_EQ(result_->sub.num_a, 1u);
  EXPECT_EQ(text_of(result_->reply_message), "Unreadable request");
}

TEST_F(AuthenticationTest, ResultCodeAndSessionIdLieWhereTheProtocolHasThem) {
  attempt({"nobody", "", ""});
  EXPECT_EQ(word_at(answer_, 16 + 4), 1u);
  EXPECT_EQ(word_at(answer_, 16 + 4 + 572), 100u);
}

}  // namespace
}  // namespace aaa_sim_test
