// LDAP searches and results that the client produced, on their way to aaad.
#include <future>

#include "management/sample_records.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"

namespace test {
namespace {

class Results : public LinkedTest {
 protected:
  ldap_search_info question_ = ldap_question();
  ldap_search_result answer_ = ldap_answer();
  result_info result_ = own_result();
};

TEST_F(Results, TravelUnderTheirSessionIdAlsoUnder0) {
  for (const std::uint32_t id : {0x01020304u, 0u}) {
    const std::string header = hex("01010101") + word_bytes(id);
    question_.head.session_id = answer_.head.session_id = result_.sub.session_id = id;
    EXPECT_EQ(0, aaa_user_req_search_ldap_entry(&question_));
    EXPECT_EQ(header + hex("20000000 3a000000") + word_bytes(id), writes().back().substr(0, 20));
    EXPECT_EQ(0, aaa_add_ldap_search_result(&answer_));
    EXPECT_EQ(header + hex("21000000 23000000") + word_bytes(id), writes().back().substr(0, 20));
    EXPECT_EQ(0, aaa_method_add_result(&result_));
    EXPECT_EQ(header + hex("04000000"), writes().back().substr(0, 12));
  }
  EXPECT_EQ(6u, writes().size());
}

TEST_F(Results, AnLdapAnswerIsSentWhileAnotherThreadHasTheLibraryLock) {
  std::future<std::int32_t> result;
  {
    const aaa::ScopedLock lock(aaa_lib_lock);
    result = std::async(std::launch::async, aaa_add_ldap_search_result, &answer_);
    EXPECT_EQ(std::future_status::ready, result.wait_for(std::chrono::seconds(5)));
  }
  EXPECT_EQ(0, result.get());
}

TEST_F(Results, AnLdapQuestionWaitsForTheLibraryLock) {
  std::future<std::int32_t> result;
  {
    const aaa::ScopedLock lock(aaa_lib_lock);
    result = std::async(std::launch::async, aaa_user_req_search_ldap_entry, &question_);
    EXPECT_EQ(std::future_status::timeout, result.wait_for(std::chrono::milliseconds(50)));
    EXPECT_TRUE(writes().empty());
  }
  EXPECT_EQ(0, result.get());
  EXPECT_EQ(1u, writes().size());
}

}  // namespace
}  // namespace test
