// Authentication, authorization and accounting requests: what they send and what they return.
#include "api/request_kinds.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/library_counters.h"
#include "support/lock_check.h"

namespace {

using test::hex;

class Requests : public test::LinkedTest, public testing::WithParamInterface<test::RequestKind> {
 protected:
  static std::int32_t submit(std::uint32_t session_id = 0x0a0b0c0d) {
    return GetParam().submit(session_id);
  }
};

INSTANTIATE_TEST_SUITE_P(, Requests,
                         testing::Values(test::authentication, test::authorization,
                                         test::accounting),
                         test::request_name);

TEST_P(Requests, WriteTheHeaderWithTheSessionIdAndTheEncodedRecord) {
  EXPECT_EQ(0, submit());
  const std::string body = GetParam().body(0x0a0b0c0d);
  ASSERT_GT(body.size(), 156u);
  const std::string& message = only_write();
  EXPECT_EQ(16 + body.size(), message.size());
  EXPECT_EQ(hex("01010101 0d0c0b0a"), message.substr(0, 8));
  EXPECT_EQ(GetParam().type, test::word_at(message, 8));
  EXPECT_EQ(body.size(), test::word_at(message, 12));
  EXPECT_EQ(body, message.substr(16));
}

TEST_P(Requests, TakeTwoBlocksAndOneSend) {
  const test::LibraryCounters counters;
  EXPECT_EQ(0, submit());
  EXPECT_EQ(2u, counters.blocks_allocated());
  EXPECT_EQ(2u, counters.blocks_freed());
  EXPECT_EQ(1u, writes().size());
}

TEST_P(Requests, LogTheSendWithTypeBodyLengthAndRequestSocket) {
  const std::size_t length = GetParam().body(9).size();
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0, submit(9));
  test::expect_line(log, "aaa_lib_send_ipc_msg",
                    std::string(": send message(") + GetParam().display_name + ")(" +
                        std::to_string(GetParam().type) + ") len(" + std::to_string(length) +
                        ") to " + std::to_string(link_.own()) + "\r\n");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_P(Requests, RefuseANullRecordWith22) {
  EXPECT_EQ(-22, GetParam().submit_nothing());
  EXPECT_TRUE(writes().empty());
}

TEST_P(Requests, RefuseANullRecordBeforeTheyAskForTheRegistration) {
  aaa::set_reg_state(AAA_REG_NOT_REGISTERED);
  EXPECT_EQ(-22, GetParam().submit_nothing());
}

TEST_P(Requests, GiveMinus1InEveryStateButRegistered) {
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    aaa::set_reg_state(state);
    EXPECT_EQ(-1, submit()) << state;
  }
  EXPECT_TRUE(writes().empty());
}

TEST_P(Requests, GiveMinus1ForSessionId0TooWhileNotRegistered) {
  aaa::set_reg_state(AAA_REG_NOT_REGISTERED);
  EXPECT_EQ(-1, submit(0));
}

TEST_P(Requests, RefuseSessionId0With22AndNoLine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  const test::LibraryCounters counters;
  EXPECT_EQ(-22, submit(0));
  EXPECT_TRUE(writes().empty());
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_P(Requests, ARecordThatCannotBeEncodedGivesItsErrorAndOneLine) {
  script(test::memory_for(0));
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(GetParam().encoding_error, submit());
  test::expect_line(log, GetParam().log_name, "out of memory.\r\n");
  EXPECT_EQ(1u, log.lines().size());
  EXPECT_TRUE(writes().empty());
}

TEST_P(Requests, AMessageThatCannotBeFramedGivesMinus12) {
  script(test::memory_for(1));
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-12, submit());
  test::expect_line(log, GetParam().log_name, "send packet error with errno 12.\r\n");
  EXPECT_EQ(1u, log.lines().size());
  EXPECT_TRUE(writes().empty());
}

TEST_P(Requests, AFailedSendGivesItsNegatedErrorAndALine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  next_write_fails(EPIPE);
  EXPECT_EQ(-32, submit());
  test::expect_line(log, GetParam().log_name, "send packet error with errno 32.\r\n");
  ASSERT_EQ(3u, log.lines().size());
  EXPECT_EQ("send fail error Broken pipe.\r\n", log.messages()[1]);
  EXPECT_EQ("send packet error with errno 32.\r\n", log.messages()[2]);
}

TEST_P(Requests, TheLineOfAFailedSendShowsErrnoNotTheResult) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const test::OpenGate gate;
  const test::LogCapture log;
  errno = E2BIG;
  EXPECT_EQ(-22, submit());
  test::expect_line(log, GetParam().log_name, "send packet error with errno 7.\r\n");
}

TEST_P(Requests, FailuresAreNotLoggedWhileTheGateIsClosed) {
  const test::LogCapture log;
  next_write_fails(EPIPE);
  EXPECT_EQ(-32, submit());
  script(test::memory_for(0));
  EXPECT_EQ(GetParam().encoding_error, submit());
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(Requests, FreeTheirBlocksWhenTheSendFails) {
  const test::LibraryCounters counters;
  next_write_fails(EPIPE);
  submit();
  EXPECT_EQ(2u, counters.blocks_allocated());
  EXPECT_EQ(2u, counters.blocks_freed());
}

TEST_P(Requests, AreQueuedWhileTheFlushThreadRuns) {
  const test::QueueInUse queue;
  EXPECT_EQ(0, submit());
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(GetParam().type, test::word_at(queue.held(), 8));
  EXPECT_EQ(GetParam().body(0x0a0b0c0d), queue.held().substr(16));
}

TEST_P(Requests, SendUnderTheLibraryLock) {
  bool free_meanwhile = true;
  during_writes([&] { free_meanwhile = test::is_free(aaa_lib_lock); });
  EXPECT_EQ(0, submit());
  EXPECT_FALSE(free_meanwhile);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_P(Requests, LeaveTheLockFreeWhenTheyFail) {
  next_write_fails(EPIPE);
  submit();
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_P(Requests, MayBeMadeByACallerThatHoldsTheLock) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  EXPECT_EQ(0, submit());
  EXPECT_EQ(1u, writes().size());
}

class LocalRequests : public test::LinkedTest {};

TEST_F(LocalRequests, AnAuthenticationOfType115GoesWithSessionId0) {
  auto record = test::filled<authen_info>(0);
  const test::LibraryCounters counters;
  EXPECT_EQ(0, aaa_user_req_authen_sub(&record, 115));
  EXPECT_EQ(hex("01010101 00000000 73000000"), only_write().substr(0, 12));
  EXPECT_EQ(test::authentication.body(0), only_write().substr(16));
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(LocalRequests, AnAuthorizationOfType116GoesWithSessionId0) {
  auto record = test::filled<author_info>(0);
  EXPECT_EQ(0, aaa_user_req_author_sub(&record, 116));
  EXPECT_EQ(hex("01010101 00000000 74000000"), only_write().substr(0, 12));
  EXPECT_EQ(test::authorization.body(0), only_write().substr(16));
}

TEST_F(LocalRequests, OnlyTheRecordsOwnTypeNeedsASessionId) {
  auto authen = test::filled<authen_info>(0);
  auto author = test::filled<author_info>(0);
  EXPECT_EQ(0, aaa_user_req_authen_sub(&authen, 6));
  EXPECT_EQ(0, aaa_user_req_author_sub(&author, 5));
  EXPECT_EQ(-22, aaa_user_req_authen_sub(&authen, 5));
  EXPECT_EQ(-22, aaa_user_req_author_sub(&author, 6));
  EXPECT_EQ(2u, writes().size());
}

TEST_F(LocalRequests, ASessionIdTravelsUnderTheOtherTypesToo) {
  auto record = test::filled<authen_info>(7);
  EXPECT_EQ(0, aaa_user_req_authen_sub(&record, 115));
  EXPECT_EQ(hex("01010101 07000000 73000000"), only_write().substr(0, 12));
}

}  // namespace
