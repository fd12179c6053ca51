// LDAP searches on their way to aaad: questions, and answers to aaad's.
#include <future>

#include "management/sample_records.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/failing_block.h"
#include "support/library_counters.h"

namespace {

using test::hex;

class LdapRequests : public test::LinkedTest {
 protected:
  static constexpr char kLogName[] = "aaa_user_req_search_ldap_entry_sub";

  ldap_search_info question_ = test::ldap_question();
  ldap_search_result answer_ = test::ldap_answer();
};

TEST_F(LdapRequests, AQuestionIsType32UnderItsFirstWord) {
  question_.head.session_id = 0x01020304;
  EXPECT_EQ(0, aaa_user_req_search_ldap_entry(&question_));
  EXPECT_EQ(hex("01010101 04030201 20000000 3a000000 04030201"), only_write().substr(0, 20));
}

TEST_F(LdapRequests, AnAnswerIsType33UnderItsFirstWord) {
  answer_.head.session_id = 0x01020304;
  EXPECT_EQ(0, aaa_add_ldap_search_result(&answer_));
  EXPECT_EQ(hex("01010101 04030201 21000000 23000000 04030201"), only_write().substr(0, 20));
}

TEST_F(LdapRequests, BothMayHaveSessionId0) {
  question_.head.session_id = 0;
  answer_.head.session_id = 0;
  EXPECT_EQ(0, aaa_user_req_search_ldap_entry(&question_));
  EXPECT_EQ(0, aaa_add_ldap_search_result(&answer_));
  EXPECT_EQ(2u, writes().size());
}

TEST_F(LdapRequests, NullGivesMinus22AndSendsNothing) {
  EXPECT_EQ(-22, aaa_user_req_search_ldap_entry(nullptr));
  EXPECT_EQ(-22, aaa_add_ldap_search_result(nullptr));
  EXPECT_TRUE(writes().empty());
}

TEST_F(LdapRequests, NullIsRefusedBeforeTheRegistrationIsAskedFor) {
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-22, aaa_user_req_search_ldap_entry(nullptr));
  EXPECT_EQ(-22, aaa_add_ldap_search_result(nullptr));
}

TEST_F(LdapRequests, AFailedEncodingIsLogged) {
  const test::OpenGate gate;
  for (const auto& [call, name] :
       {std::pair<std::function<std::int32_t()>, const char*>{
            [&] { return aaa_user_req_search_ldap_entry(&question_); }, kLogName},
        {[&] { return aaa_add_ldap_search_result(&answer_); }, "aaa_add_ldap_search_result"}}) {
    script(test::FailingBlock(1).scripts());
    const test::LogCapture log;
    EXPECT_EQ(-12, call());
    test::expect_line(log, name, "out of memory.\r\n");
    EXPECT_EQ(1u, log.lines().size());
  }
}

TEST_F(LdapRequests, TheLineOfAFailedQuestionShowsErrno) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const test::OpenGate gate;
  const test::LogCapture log;
  errno = E2BIG;
  EXPECT_EQ(-22, aaa_user_req_search_ldap_entry(&question_));
  test::expect_line(log, kLogName, "send packet error with errno 7.\r\n");
  EXPECT_EQ("send packet error with errno 7.\r\n", log.messages().back());
}

TEST_F(LdapRequests, TheLineOfAFailedAnswerShowsTheResult) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const test::OpenGate gate;
  const test::LogCapture log;
  errno = E2BIG;
  EXPECT_EQ(-22, aaa_add_ldap_search_result(&answer_));
  test::expect_line(log, "aaa_add_ldap_search_result", "send packet error with errno 22.\r\n");
  EXPECT_EQ("send packet error with errno 22.\r\n", log.messages().back());
}

TEST_F(LdapRequests, AnAnswerIsSentWhileAnotherThreadHoldsTheLibraryLock) {
  std::future<std::int32_t> result;
  {
    const aaa::ScopedLock held(aaa_lib_lock);
    result = std::async(std::launch::async, aaa_add_ldap_search_result, &answer_);
    EXPECT_EQ(std::future_status::ready, result.wait_for(std::chrono::seconds(5)));
  }
  EXPECT_EQ(0, result.get());
}

TEST_F(LdapRequests, AQuestionWaitsForTheLibraryLock) {
  std::future<std::int32_t> result;
  {
    const aaa::ScopedLock held(aaa_lib_lock);
    result = std::async(std::launch::async, aaa_user_req_search_ldap_entry, &question_);
    EXPECT_EQ(std::future_status::timeout, result.wait_for(std::chrono::milliseconds(50)));
    EXPECT_TRUE(writes().empty());
  }
  EXPECT_EQ(0, result.get());
  EXPECT_EQ(1u, writes().size());
}

}  // namespace
