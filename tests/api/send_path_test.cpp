// The way that all one-way requests take to aaad.
#include "api/send_path.h"

#include <cerrno>
#include <climits>

#include "support/linked_test.h"

namespace test {
namespace {

// Type 19 with the body "abc" and the id 0x0a0b0c0d.
const char kClearUser[] = "01010101 0d0c0b0a 13000000 03000000 616263";

class SendPath : public LinkedTest {
 protected:
  static std::uint32_t send() { return aaa_lib_send_ipc_msg(99, 19, 0x0a0b0c0d, "abc", 3); }
  static void name_process(const char* name) {
    std::snprintf(g_aaalib_process_name, sizeof g_aaalib_process_name, "%s", name);
  }

  void TearDown() override {
    name_process("");
    LinkedTest::TearDown();
  }
};

TEST_F(SendPath, WritesHeaderAndBodyInOneSendWithFlag256AndTakesOneBlock) {
  const LibraryCounters counters;
  EXPECT_EQ(0u, send());
  EXPECT_EQ(hex(kClearUser), only_write());
  EXPECT_EQ(256, write_flags() & 256);
  EXPECT_EQ(1u, counters.blocks_allocated());
  EXPECT_EQ(1u, counters.blocks_freed());
}

TEST_F(SendPath, TheMessageGoesToTheRequestSocketWhateverDescriptorIsNamed) {
  EXPECT_EQ(0u, aaa_lib_send_ipc_msg(-1, 19, 0x0a0b0c0d, "abc", 3));
  EXPECT_EQ(hex(kClearUser), only_write());
}

TEST_F(SendPath, AMessageWithoutABodyIsAHeader) {
  EXPECT_EQ(0u, aaa_lib_send_ipc_msg(99, 122, 0, nullptr, 0));
  EXPECT_EQ(hex("01010101 00000000 7a000000 00000000"), only_write());
}

TEST_F(SendPath, LogsProcessTypeNumberBodyLengthAndTheDescriptorPassedIn) {
  name_process("netd");
  const OpenLog log;
  send();
  log.expect_only("aaa_lib_send_ipc_msg", "netd: send message(clear user)(19) len(3) to 99\r\n");
}

TEST_F(SendPath, AFailedSendGivesItsErrorLogsItAndFreesTheBlock) {
  const OpenLog log;
  const LibraryCounters counters;
  next_write_fails(ECONNRESET);
  EXPECT_EQ(104u, send());
  log.expect_last("aaa_lib_send_ipc_msg", "send fail error Connection reset by peer.\r\n");
  EXPECT_EQ(2u, log.lines().size());
  EXPECT_EQ(": send message(clear user)(19) len(3) to 99\r\n", log.messages().front());
  EXPECT_EQ(1u, counters.blocks_freed());
}

TEST_F(SendPath, AMessageThatCannotBeFramedGives12BeforeAnythingIsLogged) {
  const OpenLog log;
  EXPECT_EQ(12u, aaa_lib_send_ipc_msg(99, 19, 0, "abc", UINT32_MAX));
  script({.malloc = [](std::size_t) { return std::optional<void*>(nullptr); }});
  EXPECT_EQ(12u, send());
  EXPECT_TRUE(writes().empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(SendPath, WhileTheFlushThreadRunsTheMessageIsQueuedAndTheSameLineLogged) {
  const QueueInUse queue;
  const OpenLog log;
  const LibraryCounters counters;
  EXPECT_EQ(0u, send());
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(hex(kClearUser), queue.held());
  EXPECT_EQ(1u, counters.blocks_freed());
  log.expect("aaa_lib_send_ipc_msg", ": send message(clear user)(19) len(3) to 99\r\n");
}

TEST_F(SendPath, WithoutASocketADirectSendGives22AndAQueuedMessageCountsAsSent) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  EXPECT_EQ(22u, send());
  const QueueInUse queue;
  EXPECT_EQ(0u, send());
}

TEST_F(SendPath, TheOneWaySenderRefusesANegativeLengthAndALengthWithoutABody) {
  const OpenLog log;
  EXPECT_EQ(2, aaalib_send_ipc_msg(19, 0, "abc", -1));
  EXPECT_EQ(2, aaalib_send_ipc_msg(19, 0, "abc", INT_MIN));
  EXPECT_EQ(2, aaalib_send_ipc_msg(19, 0, nullptr, 1));
  EXPECT_TRUE(writes().empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(SendPath, TheOneWaySenderSendsAnEmptyBody) {
  EXPECT_EQ(0, aaalib_send_ipc_msg(122, 5, nullptr, 0));
  EXPECT_EQ(0, aaalib_send_ipc_msg(122, 5, "abc", 0));
  const std::string header = hex("01010101 05000000 7a000000 00000000");
  EXPECT_EQ((std::vector<std::string>{header, header}), writes());
}

TEST_F(SendPath, TheOneWaySenderNamesTheRequestSocketInTheLine) {
  const OpenLog log;
  EXPECT_EQ(0, aaalib_send_ipc_msg(19, 0x0a0b0c0d, "abc", 3));
  EXPECT_EQ(hex(kClearUser), only_write());
  log.expect("aaa_lib_send_ipc_msg",
             ": send message(clear user)(19) len(3) to " + std::to_string(link_.own()) + "\r\n");
}

TEST_F(SendPath, TheOneWaySenderGives4AndLogsTheErrorWhenSendingFails) {
  const LogCapture closed;
  next_write_fails(EPIPE);
  EXPECT_EQ(4, aaalib_send_ipc_msg(19, 0, "abc", 3));
  EXPECT_TRUE(closed.lines().empty());
  const OpenLog log;
  next_write_fails(EPIPE);
  EXPECT_EQ(4, aaalib_send_ipc_msg(19, 0, "abc", 3));
  log.expect_last("aaalib_send_ipc_msg", "Send ipc message failed, errno(32).\r\n");
}

}  // namespace
}  // namespace test
