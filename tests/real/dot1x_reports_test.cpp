// Which result the sample authenticator takes for the answer to what: a login or a report.
#include "real/dot1x_fixture.h"

namespace dot1x_test {
namespace {

using testing::HasSubstr;

class ReportsTest : public FramesTest {
 protected:
  // Lets the user in; the report of it is not answered.
  void log_in(std::uint32_t session_timeout = 0) {
    leave_unanswered(AAA_MSG_ACCT_REQ);
    answer_logins(
        {{{.code = 0, .session_id = 1, .eap = kSuccess, .session_timeout = session_timeout}}});
    start();
    send_identity();
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 2, 0, 4));
    expect_request(AAA_MSG_ACCT_REQ);
  }
};

// Nothing in a result tells what it answers: a report's must not be taken for the login's.
TEST_F(ReportsTest, BeginsNoLoginBeforeAReportIsAnswered) {
  log_in(1);
  host_->send({2, 1, 0, 0});
  EXPECT_THAT(host_->receive(Supplicant::kOwn, 1500), testing::IsEmpty());
  send_result({.code = 0, .session_id = 1});
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n"));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
}

TEST_F(ReportsTest, TakesALateAnswerToAReportForNoLogin) {
  start_dot1x({"-a", "1"});
  log_in();
  EXPECT_TRUE(dot1x_->prints("bob: accounting start not answered\n"));
  expect_request(AAA_MSG_CLEAR_USER);
  EXPECT_THAT(sim_.reports().cleared_sessions, ElementsAre(1));
  leave_unanswered(AAA_MSG_AUTHEN_REQ);
  host_->send({2, 1, 0, 0});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
  host_->send({2, 0, 0, 8, 2, 3, 0, 8, 1, 'b', 'o', 'b'});
  expect_request(AAA_MSG_AUTHEN_REQ, 1);
  send_result({.code = 0, .session_id = 1});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 3, 0, 4));
  EXPECT_TRUE(
      dot1x_->prints("bob: an acceptance without EAP-Success is ignored\n"
                     "bob: no answer from aaad\n"
                     "bob: port closed: Lost service\n"));
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("stays open")));
}

}  // namespace
}  // namespace dot1x_test
