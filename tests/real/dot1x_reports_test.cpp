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

  void answer_report(std::uint32_t session_id = 1, std::uint32_t code = 0) {
    send_result({.code = code, .session_id = session_id});
  }

  // Until the port has closed.
  void log_off(std::uint8_t identifier) {
    host_->send({2, 2, 0, 0});
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, identifier, 0, 4));
  }

  void start_again(std::uint8_t identifier) {
    host_->send({2, 1, 0, 0});
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, identifier, 0, 5, 1));
    host_->send({2, 0, 0, 8, 2, identifier, 0, 8, 1, 'b', 'o', 'b'});
  }

  ReportRecord report(std::size_t skip) {
    const auto message =
        sim_.wait_for_message(received(AAA_MSG_ACCT_REQ), aaa_sim::AaadSim::kTimeout, skip);
    if (message) return report_in(*message);
    ADD_FAILURE() << "no report after " << skip << ":\n" << dot1x_->output();
    return {new acct_info{}, aaa_free_acct_info};
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
  start_again(3);
  expect_request(AAA_MSG_AUTHEN_REQ, 1);
  send_result({.code = 0, .session_id = 1});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 3, 0, 4));
  EXPECT_TRUE(
      dot1x_->prints("bob: an acceptance without EAP-Success is ignored\n"
                     "bob: no answer from aaad\n"
                     "bob: port closed: Lost service\n"));
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("stays open")));
}

TEST_F(ReportsTest, SendsTheStopAfterTheAnswerToTheStart) {
  log_in();
  log_off(2);
  answer_report(1, 1);
  EXPECT_TRUE(
      dot1x_->prints("bob: port closed: User request\n"
                     "bob: accounting start not taken\n"));
  const ReportRecord stop = report(1);
  EXPECT_EQ(stop->code_a, 2U);
  EXPECT_EQ(stop->num_e, 1U);
  answer_report();
  EXPECT_TRUE(dot1x_->prints("bob: accounting stop taken\n"));
}

TEST_F(ReportsTest, ClearsALoginThatTheUserDoesNotWaitFor) {
  leave_unanswered(AAA_MSG_AUTHEN_REQ);
  start();
  send_identity();
  expect_request(AAA_MSG_AUTHEN_REQ);
  log_off(2);
  expect_request(AAA_MSG_CLEAR_USER);
  EXPECT_THAT(sim_.reports().cleared_sessions, ElementsAre(1));
  send_result({.code = 0, .session_id = 1, .eap = kSuccess});
  start_again(3);
  expect_request(AAA_MSG_AUTHEN_REQ, 1);
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("port open")));
}

TEST_F(ReportsTest, TakesNoLateAnswerToALoginForThatToTheStop) {
  log_in();
  answer_report();
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n"));
  leave_unanswered(AAA_MSG_AUTHEN_REQ);
  start_again(3);
  expect_request(AAA_MSG_AUTHEN_REQ, 1);
  log_off(3);
  EXPECT_EQ(report(1)->code_a, 2U);
  EXPECT_THAT(sim_.reports().cleared_sessions, ElementsAre(1));
  send_result({.code = 0, .session_id = 1, .eap = kSuccess});
  answer_report(1, 1);
  EXPECT_TRUE(dot1x_->prints("bob: accounting stop not taken\n"));
}

TEST_F(ReportsTest, ReportsSessionAfterSession) {
  log_in();
  answer_report();
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n"));
  log_off(2);
  EXPECT_EQ(report(1)->session_id, 1U);
  answer_logins({{{.code = 0, .session_id = 2, .eap = kSuccess}}});
  start_again(3);
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 3, 0, 4));
  log_off(3);
  answer_report(1);
  EXPECT_TRUE(dot1x_->prints("bob: accounting stop taken\n"));
  EXPECT_EQ(report(2)->session_id, 2U);
  answer_report(2);
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n", 2));
  EXPECT_EQ(report(3)->code_a, 2U);
  answer_report(2);
  EXPECT_TRUE(dot1x_->prints("bob: accounting stop taken\n", 2));
}

TEST_F(ReportsTest, SendsTheStopWhenTheLinkIsBackAndHowLateItIs) {
  log_in();
  answer_report();
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n"));
  sim_.stop();
  EXPECT_TRUE(dot1x_->prints("the link to aaad was lost\n"));
  log_off(2);
  EXPECT_TRUE(dot1x_->prints("bob: not sent to aaad: not registered\n"));
  EXPECT_THAT(host_->receive(Supplicant::kOwn, 1200), testing::IsEmpty());
  sim_.start();
  const ReportRecord stop = report(1);
  EXPECT_EQ(stop->code_a, 2U);
  EXPECT_GE(stop->num_h, 1U);
  answer_report();
  EXPECT_TRUE(dot1x_->prints("bob: accounting stop taken\n"));
}

TEST_F(ReportsTest, SendsAgainWhatWasNotAnsweredWhenTheLinkWasLost) {
  log_in();
  sim_.stop();
  EXPECT_TRUE(dot1x_->prints("the link to aaad was lost\n"));
  sim_.start();
  EXPECT_EQ(report(1)->code_a, 1U);
  answer_report();
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n"));
}

TEST_F(ReportsTest, SendsTheStopAtTheEndThoughTheStartIsNotAnswered) {
  start_dot1x({"-a", "1"});
  log_in();
  dot1x_->signal(SIGTERM);
  EXPECT_EQ(report(1)->code_a, 2U);
  EXPECT_EQ(dot1x_->exit_status(), 0);
  EXPECT_THAT(dot1x_->output(), testing::EndsWith("bob: port closed: Admin reboot\n"
                                                  "bob: accounting start not answered\n"
                                                  "bob: accounting stop not answered\n"));
}

}  // namespace
}  // namespace dot1x_test
