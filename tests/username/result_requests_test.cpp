// Authentication and authorization of local users: what they make of the answer.
#include "support/encoded_body.h"
#include "support/failing_allocator.h"
#include "support/open_log.h"
#include "support/result.h"
#include "support/table_row.h"
#include "username_lib.h"

namespace test {

// Outside of the namespace without a name, so that its row's name is printed and not its bytes.
struct ResultRequest {
  const char* name;
  const char* function;
  std::uint32_t type;
  std::int32_t (*call)(std::uint32_t session_id, result_info** result);
  std::string body_of_session_0;
};

namespace {

template <class Record, std::int32_t (*request)(Record*, result_info**)>
std::int32_t ask(std::uint32_t session_id, result_info** result) {
  Record record = {};
  record.session_id = session_id;
  return request(&record, result);
}

const ResultRequest authentication = {"authentication", "username_lib_authen_req", 115,
                                      ask<authen_info, username_lib_authen_req>,
                                      encoded_body(aaa_encap_authen_info, authen_info{})};
const ResultRequest authorization = {"authorization", "username_lib_author_req", 116,
                                     ask<author_info, username_lib_author_req>,
                                     encoded_body(aaa_encap_author_info, author_info{})};

std::string encoded(result_info record) {
  return encoded_body(aaa_encap_result_info, record);
}

class ResultRequests : public LinkedTest, public testing::WithParamInterface<ResultRequest> {
 protected:
  void TearDown() override {
    result_.reset();
    LinkedTest::TearDown();
  }

  std::int32_t call_answered(const std::string& body, std::uint32_t type = GetParam().type) {
    aaad_answers(message_bytes(type, body));
    result_info* result = nullptr;
    const std::int32_t code = GetParam().call(0, &result);
    result_.reset(result);
    return code;
  }

  Result result_;
};

INSTANTIATE_TEST_SUITE_P(, ResultRequests, testing::Values(authentication, authorization),
                         row_name);

TEST_P(ResultRequests, AreSentWithSessionId0) {
  EXPECT_EQ(0, call_answered(encoded({})));
  EXPECT_EQ(0u, word_at(only_write(), 4));
  EXPECT_EQ(GetParam().body_of_session_0, only_write().substr(16));
}

TEST_P(ResultRequests, HandOutTheDecodedResultWithoutAPointerIntoTheReleasedAnswer) {
  result_info record = {};
  record.sub.num_a = 1;
  record.sub.session_id = 0x0a0b0c0d;
  record.reply_message = {0, 5, "hello"};
  record.item_318 = {0, 5, "first"};
  record.item_319 = {0, 6, "second"};
  record.item_320 = {0, 5, "third"};
  ASSERT_EQ(0, call_answered(encoded(record)));
  ASSERT_NE(nullptr, result_);
  EXPECT_EQ(1u, result_->sub.num_a);
  EXPECT_EQ(0x0a0b0c0du, result_->sub.session_id);
  EXPECT_STREQ("hello", static_cast<const char*>(result_->reply_message.value));
  EXPECT_EQ(nullptr, result_->item_318.value);
  EXPECT_EQ(5, result_->item_318.len);
  EXPECT_EQ(nullptr, result_->item_319.value);
  EXPECT_EQ(6, result_->item_319.len);
  EXPECT_EQ(nullptr, result_->item_320.value);
  EXPECT_EQ(5, result_->item_320.len);
}

TEST_P(ResultRequests, AnAnswerOfTheOthersTypeGivesMinus1AndALine) {
  const std::uint32_t wrong = GetParam().type == 115 ? 116 : 115;
  const OpenLog log;
  EXPECT_EQ(-1, call_answered(encoded({}), wrong));
  EXPECT_EQ(nullptr, result_);
  log.expect(GetParam().function, "Wrong message type(" + std::to_string(wrong) + ").\r\n");
}

TEST_P(ResultRequests, AnAnswerThatIsNoResultGivesMinus1AndALine) {
  for (const std::size_t length : {0, 3, 100}) {
    const LogCapture closed;
    EXPECT_EQ(-1, call_answered(std::string(length, '\0')));
    EXPECT_TRUE(closed.lines().empty());
    const OpenLog log;
    EXPECT_EQ(-1, call_answered(std::string(length, '\0'))) << length;
    EXPECT_EQ(nullptr, result_);
    log.expect(GetParam().function, "Failed to parse result info.\r\n");
  }
}

TEST_P(ResultRequests, GiveMinus1WhenAnyBlockIsMissing) {
  std::uint32_t block = 1;
  for (bool failed = true; failed; ++block) {
    const FailMalloc failing(block);
    const std::int32_t result = call_answered(encoded({}));
    failed = failing.happened();
    EXPECT_EQ(failed ? -1 : 0, result) << "block " << block;
    EXPECT_EQ(failed, result_ == nullptr);
    link_.close();
    ASSERT_TRUE(link_.open());
    aaa::store(g_aaa_client_cb.sync_fd, link_.own());
  }
  EXPECT_LE(5u, block);
}

TEST_P(ResultRequests, LogOnlyTheSendWhenAllIsWell) {
  const OpenLog log;
  EXPECT_EQ(0, call_answered(encoded({})));
  ASSERT_EQ(1u, log.lines().size());
  EXPECT_EQ("aaa_lib_send_ipc_msg", log.lines()[0].function());
}

}  // namespace
}  // namespace test
