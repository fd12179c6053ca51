// Telling aaad to forget a pending request.
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/linked_test.h"
#include "support/lock_check.h"

namespace {

class ClearUser : public test::LinkedTest {};

TEST_F(ClearUser, SendsTheSessionIdMostSignificantByteFirst) {
  EXPECT_EQ(0, aaa_clear_req_user(0x01020304));
  EXPECT_EQ(test::hex("01010101 00000000 13000000 04000000 01020304"), only_write());
}

TEST_F(ClearUser, GivesMinus1AndSendsNothingWhileNotRegistered) {
  aaa::set_reg_state(AAA_REG_CONNECTED);
  EXPECT_EQ(-1, aaa_clear_req_user(1));
  EXPECT_TRUE(writes().empty());
}

TEST_F(ClearUser, GivesMinus1WhenTheSendFails) {
  const test::OpenGate gate;
  const test::LogCapture log;
  next_write_fails(EPIPE);
  EXPECT_EQ(-1, aaa_clear_req_user(1));
  test::expect_line(log, "aaalib_send_ipc_msg", "Send ipc message failed, errno(32).\r\n");
}

TEST_F(ClearUser, SendsUnderTheLibraryLock) {
  bool free_meanwhile = true;
  during_writes([&] { free_meanwhile = test::is_free(aaa_lib_lock); });
  EXPECT_EQ(0, aaa_clear_req_user(1));
  EXPECT_FALSE(free_meanwhile);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(ClearUser, IsQueuedWhileTheFlushThreadRuns) {
  const test::QueueInUse queue;
  EXPECT_EQ(0, aaa_clear_req_user(0x01020304));
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(test::hex("01010101 00000000 13000000 04000000 01020304"), queue.held());
}

}  // namespace
