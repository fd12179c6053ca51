// The management requests that nobody answers, in what they have in common.
#include "management/one_way_kinds.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/expected_line.h"
#include "support/failing_block.h"
#include "support/library_counters.h"
#include "support/lock_check.h"

namespace test {
namespace {

class OneWayRequests : public LinkedTest, public testing::WithParamInterface<OneWayKind> {
 protected:
  static std::int64_t call() { return GetParam().call(); }

  // Expects the counters to have grown by this, and all others to be as they were.
  static void expect_counted(const LibraryCounters& counters, std::uint32_t requests,
                             std::uint32_t failures) {
    const auto& own = GetParam().counters;
    for (std::size_t n = 0; n < LibraryCounters::kWords; ++n) {
      const std::uint32_t expected = own && n == own->requests   ? requests
                                     : own && n == own->failures ? failures
                                                                 : 0;
      EXPECT_EQ(expected, counters.grown(n)) << "counter " << n;
    }
  }
  std::string send_line() const {
    return ": send message(" + GetParam().display_name + ")(" + std::to_string(GetParam().type) +
           ") len(" + std::to_string(GetParam().body.size()) + ") to " +
           std::to_string(link_.own()) + "\r\n";
  }
};

INSTANTIATE_TEST_SUITE_P(, OneWayRequests,
                         testing::Values(delete_user, move_out_delete_user, user_syn, restore_user,
                                         ha_user_syn, method_result, group_state,
                                         group_state_change, dot1x_mib, radext_request,
                                         radext_result, radext_result2, password_result,
                                         ldap_search, ldap_result),
                         one_way_name);

TEST_P(OneWayRequests, WriteTheHeaderWithTheIdAndTheBody) {
  EXPECT_EQ(GetParam().sent, call());
  const std::string& message = only_write();
  EXPECT_EQ(hex("01010101"), message.substr(0, 4));
  EXPECT_EQ(GetParam().id, word_at(message, 4));
  EXPECT_EQ(GetParam().type, word_at(message, 8));
  EXPECT_EQ(GetParam().body.size(), word_at(message, 12));
  EXPECT_EQ(GetParam().body, message.substr(16));
}

TEST_P(OneWayRequests, AskForTheRegistrationOrDoWithoutIt) {
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    aaa::set_reg_state(state);
    EXPECT_EQ(GetParam().not_alive.value_or(GetParam().sent), call()) << state;
  }
  EXPECT_EQ(GetParam().not_alive ? 0u : 4u, writes().size());
}

TEST_P(OneWayRequests, CountARequestAndNoFailureWhenSent) {
  const LibraryCounters counters;
  call();
  expect_counted(counters, 1, 0);
}

TEST_P(OneWayRequests, CountARequestWithoutARegistrationOnlyWhereItIsSent) {
  aaa::set_reg_state(AAA_REG_LOST);
  const LibraryCounters counters;
  call();
  expect_counted(counters, GetParam().not_alive ? 0 : 1, 0);
}

TEST_P(OneWayRequests, GiveTheirResultAndCountAFailureWhenTheWriteFails) {
  const LibraryCounters counters;
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().failed, call());
  EXPECT_EQ(1u, writes().size());
  expect_counted(counters, 1, 1);
}

TEST_P(OneWayRequests, GiveTheirResultAndSendNothingWhenAnyBlockIsMissing) {
  int block = 1;
  for (bool failed = true; failed; ++block) {
    const FailingBlock failing(block);
    script(failing.scripts());
    const std::int64_t result = call();
    failed = failing.happened();
    EXPECT_EQ(failed ? GetParam().no_memory : GetParam().sent, result) << "block " << block;
    EXPECT_EQ(failed ? 0u : 1u, writes().size());
  }
  EXPECT_LE(3, block);
}

TEST_P(OneWayRequests, CountAFailureWhenTheMessageCannotBeFramed) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const LibraryCounters counters;
  call();
  expect_counted(counters, 1, 1);
}

TEST_P(OneWayRequests, LogTheSend) {
  const OpenGate gate;
  const LogCapture log;
  call();
  expect_line(log, "aaa_lib_send_ipc_msg", send_line());
}

TEST_P(OneWayRequests, LogAFailedSendInTheSendersNames) {
  const OpenGate gate;
  const LogCapture log;
  next_write_fails(EPIPE);
  call();
  expect_line(log, "aaa_lib_send_ipc_msg", "send fail error Broken pipe.\r\n");
  if (GetParam().has_failure_line) {
    expect_line(log, "aaalib_send_ipc_msg", "Send ipc message failed, errno(32).\r\n");
  } else {
    EXPECT_EQ(0u, log.count("Send ipc message failed, errno(32).\r\n"));
  }
}

TEST_P(OneWayRequests, LogNothingWhileTheGateIsClosed) {
  const LogCapture log;
  call();
  next_write_fails(EPIPE);
  call();
  aaa::set_reg_state(AAA_REG_LOST);
  call();
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(OneWayRequests, FreeTheirBlocks) {
  const LibraryCounters counters;
  call();
  next_write_fails(EPIPE);
  call();
  EXPECT_LE(2u, counters.blocks_allocated());
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(OneWayRequests, AreQueuedWhileTheFlushThreadRuns) {
  const QueueInUse queue;
  EXPECT_EQ(GetParam().sent, call());
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(GetParam().type, word_at(queue.held(), 8));
  EXPECT_EQ(GetParam().body, queue.held().substr(16));
}

TEST_P(OneWayRequests, HoldTheLibraryLockDuringTheSendAsStated) {
  bool free_meanwhile = !GetParam().takes_the_lock;
  during_writes([&] { free_meanwhile = is_free(aaa_lib_lock); });
  call();
  EXPECT_EQ(!GetParam().takes_the_lock, free_meanwhile);
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_P(OneWayRequests, LeaveTheLockFreeWhenTheWriteFails) {
  next_write_fails(EPIPE);
  call();
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

}  // namespace
}  // namespace test
