// Password updates: those that the client asks for, and the answers to those that aaad asks for.
#include "runtime/receive/inbound.h"
#include "support/failing_allocator.h"
#include "support/linked_test.h"

namespace test {
namespace {

class PasswordUpdate : public LinkedTest {
 protected:
  std::int32_t update(const std::string& answer) {
    aaad_answers(answer);
    return update();
  }
  std::int32_t update() { return aaa_update_user_pwd(1, 2, "alice", "old", "new!", &status_); }

  std::uint32_t status_ = 0xeeeeeeee;
};

TEST_F(PasswordUpdate, EmptyStringsAreLengthsOf0) {
  aaad_answers(message_bytes(129, word_bytes(0) + word_bytes(0)));
  EXPECT_EQ(0, aaa_update_user_pwd(1, 2, "", "", "", &status_));
  EXPECT_EQ(hex("14000000 01000000 02000000 00000000 00000000 00000000"), only_write().substr(12));
}

TEST_F(PasswordUpdate, LongStringsTravelWhole) {
  const std::string text(70000, 'p');
  aaad_answers(message_bytes(129, word_bytes(0) + word_bytes(0)));
  EXPECT_EQ(0, aaa_update_user_pwd(1, 2, "", text.c_str(), "", &status_));
  EXPECT_EQ(70020u, word_at(only_write(), 12));
  EXPECT_EQ(70000u, word_at(only_write(), 28));
  EXPECT_EQ(text, only_write().substr(32, 70000));
}

TEST_F(PasswordUpdate, TheStatusIsTheAnswersSecondWordAsFarAsItIsThere) {
  EXPECT_EQ(0, update(message_bytes(129, word_bytes(5) + word_bytes(0x11223344))));
  EXPECT_EQ(0x11223344u, status_);
  EXPECT_EQ(0, update(message_bytes(129, word_bytes(5))));
  EXPECT_EQ(0u, status_);
  EXPECT_EQ(0, update(message_bytes(129, word_bytes(5) + hex("1122"))));
  EXPECT_EQ(0x2211u, status_);
  EXPECT_EQ(0, update(message_bytes(129, "")));
  EXPECT_EQ(0u, status_);
}

TEST_F(PasswordUpdate, FailuresLeaveTheStatusAlone) {
  next_write_fails(EPIPE);
  EXPECT_EQ(4, update());
  const FailMalloc failing(1);
  EXPECT_EQ(5, update());
  EXPECT_EQ(0xeeeeeeeeu, status_);
}

TEST_F(PasswordUpdate, LogsTheStatusLastAndNoneWithoutAnAnswer) {
  const OpenLog log;
  update(message_bytes(129, word_bytes(0) + word_bytes(77)));
  log.expect_last("aaa_update_user_pwd", "Update user pwd: 77\r\n");
  const OpenLog unanswered;
  next_write_fails(EPIPE);
  update();
  for (const std::string& message : unanswered.messages())
    EXPECT_EQ(std::string::npos, message.find("Update user pwd")) << message;
}

TEST_F(PasswordUpdate, AnAnswerOfAnotherTypeIsStatus1WithItsLine) {
  const OpenLog log;
  EXPECT_EQ(0, update(message_bytes(26, word_bytes(5) + word_bytes(6))));
  EXPECT_EQ(1u, status_);
  log.expect("aaa_update_user_pwd", "Update user pwd: 1\r\n");
}

TEST_F(PasswordUpdate, NoCounterMoves) {
  const LibraryCounters counters;
  update(message_bytes(129, ""));
  next_write_fails(EPIPE);
  update();
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(PasswordUpdate, TheHandlerIsStoredAndReplaced) {
  const aaa_user_pwd_update_fn handler = [](std::uint32_t, const char*, const char*, const char*) {
  };
  aaa_add_user_pwd_update_req_handle(handler);
  EXPECT_EQ(handler, aaa::load(aaa::g_aaa_user_pwd_update_req_handle));
  aaa_add_user_pwd_update_req_handle(nullptr);
  EXPECT_EQ(nullptr, aaa::load(aaa::g_aaa_user_pwd_update_req_handle));
}

}  // namespace
}  // namespace test
