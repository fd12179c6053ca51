// Authentication and authorization of local users.
#include <memory>

#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/failing_block.h"
#include "support/library_counters.h"
#include "support/linked_test.h"
#include "support/lock_check.h"
#include "username_lib.h"

namespace {

using test::hex;
using test::message_bytes;

struct Kind {
  const char* name;
  const char* function;
  std::uint32_t type;
  std::int32_t (*call)(std::uint32_t session_id, result_info** result);
  std::int32_t (*call_with_null)(result_info** result);
  std::string (*body)(std::uint32_t session_id);
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) {
  return out << kind.name;
}

template <class Record>
Record user(std::uint32_t session_id) {
  Record record = {};
  record.session_id = session_id;
  record.user_password = {0, 6, "secret"};
  return record;
}

template <class Record, std::int32_t (*request)(Record*, result_info**),
          std::uint32_t (*encode)(Record*, void**)>
Kind kind(const char* name, const char* function, std::uint32_t type) {
  return {name,
          function,
          type,
          [](std::uint32_t session_id, result_info** result) {
            Record record = user<Record>(session_id);
            return request(&record, result);
          },
          [](result_info** result) { return request(nullptr, result); },
          [](std::uint32_t session_id) {
            Record record = user<Record>(session_id);
            void* body = nullptr;
            const std::uint32_t length = encode(&record, &body);
            return test::take_block(body, length);
          }};
}

const Kind authentication = kind<authen_info, username_lib_authen_req, aaa_encap_authen_info>(
    "authentication", "username_lib_authen_req", 115);
const Kind authorization = kind<author_info, username_lib_author_req, aaa_encap_author_info>(
    "authorization", "username_lib_author_req", 116);

std::string encoded_result() {
  result_info record = {};
  record.sub.num_a = 1;
  record.sub.session_id = 0x0a0b0c0d;
  record.reply_message = {0, 5, "hello"};
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  return test::take_block(body, length);
}

class ResultRequests : public test::LinkedTest, public testing::WithParamInterface<Kind> {
 protected:
  void TearDown() override {
    result_.reset();
    LinkedTest::TearDown();
  }

  std::int32_t call(std::uint32_t session_id = 0x01020304) {
    result_info* result = nullptr;
    const std::int32_t code = GetParam().call(session_id, &result);
    result_.reset(result);
    return code;
  }
  std::int32_t answered_call() {
    aaad_answers(answer());
    return call();
  }
  static std::string answer() { return message_bytes(GetParam().type, encoded_result()); }

  struct Release {
    void operator()(result_info* result) const { aaa_free_result_info(result); }
  };
  std::unique_ptr<result_info, Release> result_;
};

INSTANTIATE_TEST_SUITE_P(, ResultRequests, testing::Values(authentication, authorization),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(ResultRequests, SendTheRecordUnderItsSessionId) {
  EXPECT_EQ(0, answered_call());
  const std::string& message = only_write();
  EXPECT_EQ(hex("01010101 04030201"), message.substr(0, 8));
  EXPECT_EQ(GetParam().type, test::word_at(message, 8));
  EXPECT_EQ(GetParam().body(0x01020304), message.substr(16));
}

TEST_P(ResultRequests, AreSentWithSessionId0) {
  aaad_answers(answer());
  EXPECT_EQ(0, call(0));
  EXPECT_EQ(0u, test::word_at(only_write(), 4));
  EXPECT_EQ(GetParam().body(0), only_write().substr(16));
}

TEST_P(ResultRequests, HandOutTheDecodedResult) {
  ASSERT_EQ(0, answered_call());
  ASSERT_NE(nullptr, result_);
  EXPECT_EQ(1u, result_->sub.num_a);
  EXPECT_EQ(0x0a0b0c0du, result_->sub.session_id);
  EXPECT_STREQ("hello", static_cast<const char*>(result_->reply_message.value));
}

TEST_P(ResultRequests, HandOutNoPointerIntoTheReleasedAnswer) {
  result_info record = {};
  record.item_318 = {0, 5, "first"};
  record.item_319 = {0, 6, "second"};
  record.item_320 = {0, 5, "third"};
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  aaad_answers(message_bytes(GetParam().type, test::take_block(body, length)));
  ASSERT_EQ(0, call());
  EXPECT_EQ(nullptr, result_->item_318.value);
  EXPECT_EQ(5, result_->item_318.len);
  EXPECT_EQ(nullptr, result_->item_319.value);
  EXPECT_EQ(6, result_->item_319.len);
  EXPECT_EQ(nullptr, result_->item_320.value);
  EXPECT_EQ(5, result_->item_320.len);
}

TEST_P(ResultRequests, RefuseNullWithOneLineBeforeTheyAskForTheRegistration) {
  aaa::set_reg_state(AAA_REG_LOST);
  const test::OpenGate gate;
  result_info* result = nullptr;
  const test::LogCapture no_record;
  EXPECT_EQ(-1, GetParam().call_with_null(&result));
  test::expect_line(no_record, GetParam().function, "Null param passed in.\r\n");
  EXPECT_EQ(1u, no_record.lines().size());
  const test::LogCapture no_result;
  EXPECT_EQ(-1, GetParam().call(1, nullptr));
  test::expect_line(no_result, GetParam().function, "Null param passed in.\r\n");
  EXPECT_EQ(1u, no_result.lines().size());
}

TEST_P(ResultRequests, GiveMinus1InEveryStateButRegistered) {
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    aaa::set_reg_state(state);
    EXPECT_EQ(-1, answered_call()) << state;
  }
  EXPECT_TRUE(writes().empty());
}

TEST_P(ResultRequests, AFailedSendGivesMinus1WithoutReading) {
  int reads = 0;
  script({.recv = [&](int, void*, std::size_t, int) {
    ++reads;
    return std::optional<ssize_t>();
  }});
  next_write_fails(EPIPE);
  EXPECT_EQ(-1, answered_call());
  EXPECT_EQ(0, reads);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_P(ResultRequests, NoAnswerGivesMinus1) {
  during_writes([this] { link_.close_peer(); });
  EXPECT_EQ(-1, call());
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_P(ResultRequests, ASilentAaadGivesMinus1) {
  test::MovedClock clock;
  script({.recv = [&](int, void*, std::size_t, int) {
    clock.advance(2);
    return std::optional<ssize_t>(test::fails(EAGAIN));
  }});
  EXPECT_EQ(-1, call());
  EXPECT_EQ(1u, writes().size());
}

TEST_P(ResultRequests, AnAnswerOfTheOthersTypeGivesMinus1AndALine) {
  const std::uint32_t wrong = GetParam().type == 115 ? 116 : 115;
  const test::OpenGate gate;
  const test::LogCapture log;
  aaad_answers(message_bytes(wrong, encoded_result()));
  EXPECT_EQ(-1, call());
  EXPECT_EQ(nullptr, result_);
  test::expect_line(log, GetParam().function,
                    "Wrong message type(" + std::to_string(wrong) + ").\r\n");
}

TEST_P(ResultRequests, AnAnswerThatIsNoResultGivesMinus1AndALine) {
  for (const std::size_t length : {0, 3, 100}) {
    const test::OpenGate gate;
    const test::LogCapture log;
    aaad_answers(message_bytes(GetParam().type, std::string(length, '\0')));
    EXPECT_EQ(-1, call()) << length;
    EXPECT_EQ(nullptr, result_);
    test::expect_line(log, GetParam().function, "Failed to parse result info.\r\n");
  }
}

TEST_P(ResultRequests, GiveMinus1WhenAnyBlockIsMissing) {
  int block = 1;
  for (bool failed = true; failed; ++block) {
    const test::FailingBlock failing(block);
    script(failing.scripts());
    const std::int32_t result = answered_call();
    failed = failing.happened();
    EXPECT_EQ(failed ? -1 : 0, result) << "block " << block;
    EXPECT_EQ(failed, result_ == nullptr);
    link_.close();
    ASSERT_TRUE(link_.open());
    aaa::store(g_aaa_client_cb.sync_fd, link_.own());
  }
  EXPECT_LE(5, block);
}

TEST_P(ResultRequests, HoldTheLibraryLockFromTheSendToTheEndOfTheAnswer) {
  bool free_meanwhile = false;
  const auto look = [&] { free_meanwhile = free_meanwhile || test::is_free(aaa_lib_lock); };
  int reads = 0;
  script({.recv = [&](int, void*, std::size_t, int) {
    look();
    ++reads;
    return std::optional<ssize_t>();
  }});
  during_writes(look);
  EXPECT_EQ(0, answered_call());
  EXPECT_EQ(2, reads);
  EXPECT_FALSE(free_meanwhile);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_P(ResultRequests, LogOnlyTheSendWhenAllIsWell) {
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0, answered_call());
  ASSERT_EQ(1u, log.lines().size());
  EXPECT_EQ("aaa_lib_send_ipc_msg", log.lines()[0].function());
}

TEST_P(ResultRequests, LogNothingWhileTheGateIsClosed) {
  const test::LogCapture log;
  GetParam().call(1, nullptr);
  aaad_answers(message_bytes(103, ""));
  call();
  aaad_answers(message_bytes(GetParam().type, ""));
  call();
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(ResultRequests, CountAndTimeNothing) {
  const test::LibraryCounters counters;
  EXPECT_EQ(0, answered_call());
  next_write_fails(EPIPE);
  EXPECT_EQ(-1, call());
  EXPECT_TRUE(counters.all_unchanged());
}

}  // namespace
