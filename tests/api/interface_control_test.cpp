// Switching the control of interfaces.
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/library_counters.h"
#include "support/linked_test.h"
#include "support/lock_check.h"

namespace {

class InterfaceControl : public test::LinkedTest {
 protected:
  static std::int32_t control(std::uint32_t first = 1) {
    const std::uint32_t words[3] = {first, 0x55, 0x66778899};
    return aaa_notify_ctrl_if_switch(words);
  }
};

TEST_F(InterfaceControl, SendsTheTwelveBytesAsTheyAreWithId0) {
  const test::LibraryCounters counters;
  EXPECT_EQ(0, control());
  EXPECT_EQ(test::hex("01010101 00000000 1c000000 0c000000 01000000 55000000 99887766"),
            only_write());
  EXPECT_TRUE(counters.all_unchanged());
  EXPECT_EQ(1u, counters.blocks_allocated());
}

TEST_F(InterfaceControl, LogsTheSend) {
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0, control());
  test::expect_line(
      log, "aaa_lib_send_ipc_msg",
      ": send message(interface control)(28) len(12) to " + std::to_string(link_.own()) + "\r\n");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(InterfaceControl, RefusesNothingAtAllWith22) {
  EXPECT_EQ(-22, aaa_notify_ctrl_if_switch(nullptr));
  EXPECT_TRUE(writes().empty());
}

TEST_F(InterfaceControl, RefusesAFirstWordOf0With22) {
  const std::uint32_t words[3] = {0, 5, 6};
  EXPECT_EQ(-22, aaa_notify_ctrl_if_switch(words));
  EXPECT_TRUE(writes().empty());
}

TEST_F(InterfaceControl, GivesMinus1WhileNotRegistered) {
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-1, control());
  EXPECT_TRUE(writes().empty());
}

TEST_F(InterfaceControl, RefusesBadWordsBeforeItAsksForTheRegistration) {
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-22, aaa_notify_ctrl_if_switch(nullptr));
  EXPECT_EQ(-22, control(0));
}

TEST_F(InterfaceControl, AFailedSendGivesItsNegatedErrorAndALine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  next_write_fails(ENOTCONN);
  EXPECT_EQ(-107, control());
  test::expect_line(log, "aaa_notify_ctrl_if_switch", "send pak error with errno 107.\r\n");
  EXPECT_EQ("send pak error with errno 107.\r\n", log.messages().back());
}

TEST_F(InterfaceControl, TheLineOfAFailedSendShowsErrnoNotTheResult) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const test::OpenGate gate;
  const test::LogCapture log;
  errno = E2BIG;
  EXPECT_EQ(-22, control());
  test::expect_line(log, "aaa_notify_ctrl_if_switch", "send pak error with errno 7.\r\n");
}

TEST_F(InterfaceControl, SendsUnderTheLibraryLock) {
  bool free_meanwhile = true;
  during_writes([&] { free_meanwhile = test::is_free(aaa_lib_lock); });
  EXPECT_EQ(0, control());
  EXPECT_FALSE(free_meanwhile);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(InterfaceControl, IsQueuedWhileTheFlushThreadRuns) {
  const test::QueueInUse queue;
  EXPECT_EQ(0, control());
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(test::hex("01010101 00000000 1c000000 0c000000 01000000 55000000 99887766"),
            queue.held());
}

}  // namespace
