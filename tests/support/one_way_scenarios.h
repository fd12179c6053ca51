// What holds for every request of the library that nobody answers. One file of a test program
// includes this and instantiates OneWayRequests with the program's requests.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/failing_allocator.h"
#include "support/library_counters.h"
#include "support/linked_test.h"
#include "support/lock_check.h"
#include "support/locked_state.h"
#include "support/open_log.h"

namespace test {

struct OneWayKind {
  // Of a call that is sent, whose write fails with EPIPE, that finds no memory for a block, and
  // without a registration: nothing where the call does not ask for it.
  struct Results {
    std::int64_t sent, failed, no_memory;
    std::optional<std::int64_t> not_alive;
  };
  struct Counters {
    std::size_t requests, failures;
    // The sum of the times, with the longest time behind it.
    std::size_t time = LibraryCounters::kWords;
  };
  // Lines of the request's own when it fails, in place of the sender's.
  struct Lines {
    std::string function;
    std::string send_failed;  // up to the number: of errno or of the result
    bool shows_errno;
  };

  std::string name;
  std::uint32_t type;
  std::string display_name;
  std::uint32_t id;
  std::string body;
  std::function<std::int64_t()> call;
  Results results;
  std::uint32_t blocks;  // in all, of which the last is the message's
  std::optional<Counters> counters = {};
  std::optional<Lines> lines = {};
  bool takes_the_lock = true;
  // When the block of the body cannot be had, if that is another result.
  std::optional<std::int64_t> no_body = {};
};

class OneWayRequests : public LinkedTest, public testing::WithParamInterface<OneWayKind> {
 protected:
  static std::int64_t call() { return GetParam().call(); }

  // Expects the counters to have grown by this, and all others to be as they were.
  static void expect_counted(const LibraryCounters& counters, std::uint32_t requests,
                             std::uint32_t failures) {
    const auto& own = GetParam().counters;
    if (!own) return counters.expect_grown({});
    counters.expect_grown({{own->requests, requests}, {own->failures, failures}}, own->time);
  }
  std::string send_line() const {
    return ": send message(" + GetParam().display_name + ")(" + std::to_string(GetParam().type) +
           ") len(" + std::to_string(GetParam().body.size()) + ") to " +
           std::to_string(link_.own()) + "\r\n";
  }
};

TEST_P(OneWayRequests, WriteTheHeaderWithTheIdAndTheBody) {
  const LibraryCounters counters;
  EXPECT_EQ(GetParam().results.sent, call());
  EXPECT_EQ(message_with_id(GetParam().id, GetParam().type, GetParam().body), only_write());
  expect_counted(counters, 1, 0);
}

TEST_P(OneWayRequests, AskForTheRegistrationOrDoWithoutIt) {
  const LibraryCounters counters;
  for (const auto state :
       {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED, AAA_REG_LOST}) {
    test::set_reg_state(state);
    EXPECT_EQ(GetParam().results.not_alive.value_or(GetParam().results.sent), call()) << state;
  }
  EXPECT_EQ(GetParam().results.not_alive ? 0u : 4u, writes().size());
  expect_counted(counters, GetParam().results.not_alive ? 0 : 4, 0);
  EXPECT_TRUE(!GetParam().results.not_alive || counters.all_unchanged())
      << "not even a time is kept";
}

TEST_P(OneWayRequests, CountAFailureAndLeaveNothingWhenTheWriteFails) {
  const LibraryCounters counters;
  next_write_fails(EPIPE);
  EXPECT_EQ(GetParam().results.failed, call());
  EXPECT_EQ(1u, writes().size());
  expect_counted(counters, 1, 1);
  EXPECT_TRUE(is_free(aaa_lib_lock));
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(OneWayRequests, CountAFailureAndSendNothingWhenAnyBlockIsMissing) {
  for (std::uint32_t block = 1; block <= GetParam().blocks; ++block) {
    SCOPED_TRACE("block " + std::to_string(block));
    const FailMalloc failing(block);
    const bool is_message = block == GetParam().blocks;
    const std::int64_t no_memory = GetParam().results.no_memory;
    const LibraryCounters counters;
    const OpenLog log;
    EXPECT_EQ(is_message ? no_memory : GetParam().no_body.value_or(no_memory), call());
    EXPECT_TRUE(writes().empty());
    expect_counted(counters, 1, 1);
    EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
    if (const auto& lines = GetParam().lines) {
      log.expect_only(lines->function,
                      is_message ? lines->send_failed + "12.\r\n" : "out of memory.\r\n");
    }
  }
  const LibraryCounters counters;
  EXPECT_EQ(GetParam().results.sent, call());
  EXPECT_EQ(GetParam().blocks, counters.blocks_allocated());
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(OneWayRequests, CountAFailureWithoutASocket) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const LibraryCounters counters;
  const OpenLog log;
  errno = E2BIG;
  const std::int64_t result = call();
  expect_counted(counters, 1, 1);
  EXPECT_EQ(GetParam().lines ? -22 : GetParam().results.failed, result);
  if (const auto& lines = GetParam().lines) {
    log.expect_last(lines->function,
                    lines->send_failed + (lines->shows_errno ? "7.\r\n" : "22.\r\n"));
  }
}

TEST_P(OneWayRequests, LogTheSend) {
  const OpenLog log;
  call();
  log.expect("aaa_lib_send_ipc_msg", send_line());
  if (GetParam().lines) {
    EXPECT_EQ(1u, log.lines().size());
  }
}

TEST_P(OneWayRequests, LogAFailedSendInTheSendersNames) {
  const OpenLog log;
  next_write_fails(EPIPE);
  call();
  log.expect("aaa_lib_send_ipc_msg", "send fail error Broken pipe.\r\n");
  if (const auto& lines = GetParam().lines) {
    log.expect_last(lines->function, lines->send_failed + "32.\r\n");
    EXPECT_EQ(3u, log.lines().size());
  } else {
    log.expect("aaalib_send_ipc_msg", "Send ipc message failed, errno(32).\r\n");
  }
}

TEST_P(OneWayRequests, LogNothingWhileTheGateIsClosed) {
  const LogCapture log;
  call();
  next_write_fails(EPIPE);
  call();
  const FailMalloc failing(1);
  call();
  test::set_reg_state(AAA_REG_LOST);
  call();
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(OneWayRequests, AreQueuedWhileTheFlushThreadRuns) {
  const QueueInUse queue;
  const LibraryCounters counters;
  EXPECT_EQ(GetParam().results.sent, call());
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(message_with_id(GetParam().id, GetParam().type, GetParam().body), queue.held());
  expect_counted(counters, 1, 0);
}

TEST_P(OneWayRequests, HaveTheLibraryLockDuringTheSendAsStated) {
  bool free_meanwhile = !GetParam().takes_the_lock;
  during_writes([&] { free_meanwhile = is_free(aaa_lib_lock); });
  call();
  EXPECT_EQ(!GetParam().takes_the_lock, free_meanwhile);
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

}  // namespace test
