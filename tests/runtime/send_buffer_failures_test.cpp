// Batches and messages that cannot be written, and who waits for whom.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <thread>

#include "lock_probe.h"
#include "log_lines.h"
#include "send_buffer_test.h"
#include "support/scripted_calls.h"

namespace test {
namespace {

TEST_F(SendBufferTest, WithoutARequestSocketTheFlushOnlyLogs) {
  const OpenGate gate;
  for (const int fd : {-1, 0}) {
    const LogCapture log;
    use_request_socket(fd);
    add(request(20, 1));
    aaa_lib_send_buf();
    expect_debug_line(log, "send sd not available.\r\n", "aaa_lib_send_buf");
    EXPECT_EQ(1u, log.lines().size());
  }
}

TEST_F(SendBufferTest, ABatchWithoutARequestSocketIsDropped) {
  use_request_socket(-1);
  add_many(16);
  add(request(20, 17));
  use_request_socket(aaad_.own());
  aaa_lib_send_buf();
  EXPECT_EQ(batch_of(request(20, 17)), sent());
}

TEST_F(SendBufferTest, ABatchThatCannotBeWrittenIsLoggedAndDropped) {
  const OpenGate gate;
  const LogCapture log;
  aaad_.close_peer();
  add_many(16);
  add(request(20, 17));
  expect_debug_line(log, "send fail error Broken pipe.\r\n", "aaa_lib_send_buf");
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(words({0x01010101, 0, 25, 20}) + request(20, 17), part(buffer(), 0, 36));
}

TEST_F(SendBufferTest, ALongMessageThatCannotBeWrittenIsLogged) {
  const OpenGate gate;
  const LogCapture log;
  aaad_.close_peer();
  add(request(8192, 1));
  expect_debug_line(log, "send fail error Broken pipe.\r\n", "aaa_lib_add_send_buf");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(SendBufferTest, TheSocketIsNotCheckedBeforeALongMessage) {
  const OpenGate gate;
  const LogCapture log;
  use_request_socket(-1);
  add(request(8192, 1));
  expect_debug_line(log, "send fail error Invalid argument.\r\n", "aaa_lib_add_send_buf");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(SendBufferTest, AClosedGateHidesEveryFailure) {
  const LogCapture log;
  aaad_.close_peer();
  add_many(17);
  add(request(8192, 1));
  use_request_socket(-1);
  add_many(17);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(SendBufferTest, WritesCarryTheFlagWaitAll) {
  std::vector<int> flags;
  Scripts scripts;
  scripts.send = [&](int, const void*, std::size_t, int given) {
    flags.push_back(given & 0x100);
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  add(request(20, 1));
  add(request(8192, 2));
  EXPECT_EQ((std::vector<int>{0x100, 0x100}), flags);
}

TEST_F(SendBufferTest, ABatchIsOneWriteUnderTheBuffersLockAlone) {
  std::vector<std::size_t> writes;
  bool buffer_held = false;
  bool library_held = true;
  Scripts scripts;
  scripts.send = [&](int, const void*, std::size_t size, int) {
    writes.push_back(size);
    buffer_held = is_held(aaa_lib_send_buf_lock);
    library_held = is_held(aaa_lib_lock);
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  add_many(17);
  EXPECT_EQ(std::vector<std::size_t>{272}, writes);
  EXPECT_TRUE(buffer_held);
  EXPECT_FALSE(library_held);
}

TEST_F(SendBufferTest, TheBuffersLockIsRecursive) {
  const aaa::ScopedLock once(aaa_lib_send_buf_lock);
  const aaa::ScopedLock twice(aaa_lib_send_buf_lock);
  add_many(17);
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
}

// The messages of one thread among all that crossed the socket, by their marks, in order.
std::vector<std::uint8_t> marks_of(const Bytes& stream, std::uint32_t type) {
  std::vector<std::uint8_t> marks;
  for (std::size_t at = 0; at + 16 <= stream.size();) {
    const bool is_batch = word_at(stream, at + 8) == 25;
    if (word_at(stream, at + 8) == type) marks.push_back(stream[at + 16]);
    at += 16 + (is_batch ? 0 : word_at(stream, at + 12));
  }
  return marks;
}

TEST_F(SendBufferTest, MessagesOfManyThreadsAreNeitherLostNorSplitNorReordered) {
  constexpr std::uint8_t count = 200;
  std::vector<std::thread> clients;
  for (std::uint32_t type = 5; type <= 7; ++type) {
    clients.emplace_back([type] {
      for (std::uint8_t mark = 0; mark < count; ++mark)
        add(framed(type, mark, Bytes(5, mark)));
    });
  }
  for (std::thread& one : clients)
    one.join();
  aaa_lib_send_buf();
  const Bytes stream = sent();
  for (std::uint32_t type = 5; type <= 7; ++type) {
    const std::vector<std::uint8_t> marks = marks_of(stream, type);
    EXPECT_EQ(count, marks.size());
    EXPECT_TRUE(std::is_sorted(marks.begin(), marks.end()));
  }
}

}  // namespace
}  // namespace test
