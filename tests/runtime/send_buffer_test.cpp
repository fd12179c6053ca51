// What lies in the send buffer, when it is written, what comes of batches and messages that cannot
// be written, and who waits for whom.
#include "runtime/send_buffer_test.h"

#include <algorithm>

namespace test::send_buffer {

class SendBuffer : public SendBufferTest {};

TEST_F(SendBuffer, EmptyIsAMessageOfType25WithoutABody) {
  ASSERT_EQ(8208u, sizeof aaalib_send_buf);
  expect_buffer("", 0);
  EXPECT_EQ(word_bytes({0x01010101, 0, 25, 0}), bytes_of(&aaalib_send_buf, 16));
}

TEST_F(SendBuffer, MessagesAreCopiedBackToBackInTheOrderInWhichTheyWereAdded) {
  std::string message = request(20, 1);
  add(message);
  EXPECT_EQ(request(20, 1), message);
  message.assign(20, '\xee');
  add(request(33, 2));
  expect_buffer(request(20, 1) + request(33, 2), 2);
  EXPECT_EQ("", sent());
}

TEST_F(SendBuffer, ResetEmptiesItAndRestoresTheHeader) {
  add(request(8191, 1));
  aaalib_send_buf.header = {.marker = 9, .id = 9, .type = 9, .length = 8191};
  aaa_lib_send_buf_reset();
  expect_buffer("", 0);
  EXPECT_EQ("", sent());
}

TEST_F(SendBuffer, TheFirstInitResetsItAndLaterOnesDoNothing) {
  add(request(20, 1));
  g_send_buf_init = 1;
  aaa_lib_send_buf_init();
  expect_buffer(request(20, 1), 1);
  g_send_buf_init = 0;
  aaa_lib_send_buf_init();
  expect_buffer("", 0);
  EXPECT_EQ(1, g_send_buf_init);
}

TEST_F(SendBuffer, NoMessageIsIgnored) {
  add(request(20, 1));
  for (const std::uint32_t length : {0, 16, 8191, 8192})
    EXPECT_EQ(0, aaa_lib_add_send_buf(nullptr, length));
  EXPECT_EQ("", sent());
  expect_buffer(request(20, 1), 1);
}

TEST_F(SendBuffer, TheSeventeenthMessageFlushesTheFirstSixteenBeforeItIsStored) {
  const std::string sixteen = add_many(16);
  EXPECT_EQ("", sent());
  expect_buffer(sixteen, 16);
  add(request(20, 17));
  EXPECT_EQ(batch_of(sixteen), sent());
  expect_buffer(request(20, 17), 1);
}

TEST_F(SendBuffer, ABodyOf8191BytesIsStored) {
  add(request(8000, 1));
  add(request(191, 2));
  EXPECT_EQ("", sent());
  expect_buffer(request(8000, 1) + request(191, 2), 2);
}

TEST_F(SendBuffer, AMessageThatWouldMakeTheBody8192BytesFlushesFirst) {
  add(request(8000, 1));
  add(request(192, 2));
  EXPECT_EQ(batch_of(request(8000, 1)), sent());
  expect_buffer(request(192, 2), 1);
}

TEST_F(SendBuffer, AMessageOf8191BytesIsStored) {
  add(request(8191, 1));
  EXPECT_EQ("", sent());
  expect_buffer(request(8191, 1), 1);
}

TEST_F(SendBuffer, AMessageOf8192BytesOrMoreIsSentAloneAfterWhatWasBuffered) {
  add(request(20, 1));
  add(request(8192, 2));
  EXPECT_EQ(batch_of(request(20, 1)) + request(8192, 2), sent());
  expect_buffer("", 0);
  add(request(20000, 2));
  EXPECT_EQ(request(20000, 2), sent());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
}

TEST_F(SendBuffer, AFlushWritesTheHeaderAndTheUsedPartAndDoesNotReset) {
  add(request(20, 1));
  add(request(24, 2));
  aaa_lib_send_buf();
  EXPECT_EQ(word_bytes({0x01010101, 0, 25, 44}) + request(20, 1) + request(24, 2), sent());
  expect_buffer(request(20, 1) + request(24, 2), 2);
}

TEST_F(SendBuffer, EmptyIsNeverSentNorAReasonToComplainOfAMissingSocket) {
  aaa_lib_send_buf();
  EXPECT_EQ("", sent());
  const OpenLog log;
  use_request_socket(-1);
  aaa_lib_send_buf();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(SendBuffer, TheTimerWordsAreLeftAlone) {
  g_send_buf_tmr = 0x5a5a5a5a;
  g_send_buf_tmr_init = 0x5a;
  aaa_lib_send_buf_init();
  add_many(17);
  aaa_lib_send_buf();
  EXPECT_EQ(0x5a5a5a5au, g_send_buf_tmr);
  EXPECT_EQ(0x5a, g_send_buf_tmr_init);
  g_send_buf_tmr = 0;
  g_send_buf_tmr_init = 0;
}

class SendBufferFailures : public SendBuffer {};

TEST_F(SendBufferFailures, WithoutARequestSocketTheFlushOnlyLogs) {
  for (const int fd : {-1, 0}) {
    const OpenLog log;
    use_request_socket(fd);
    add(request(20, 1));
    aaa_lib_send_buf();
    expect_only_line(log, "aaa_lib_send_buf", "send sd not available.\r\n");
  }
}

TEST_F(SendBufferFailures, ABatchWithoutARequestSocketIsDropped) {
  use_request_socket(-1);
  add_many(16);
  add(request(20, 17));
  use_request_socket(aaad_.own());
  aaa_lib_send_buf();
  EXPECT_EQ(batch_of(request(20, 17)), sent());
}

TEST_F(SendBufferFailures, ABatchThatCannotBeWrittenIsLoggedAndDropped) {
  const OpenLog log;
  aaad_.close_peer();
  add_many(16);
  add(request(20, 17));
  expect_line(log, "aaa_lib_send_buf", "send fail error Broken pipe.\r\n");
  expect_buffer(request(20, 17), 1);
}

TEST_F(SendBufferFailures, ALongMessageThatCannotBeWrittenIsLoggedAndTheSocketNotCheckedBefore) {
  const std::pair<int, std::string> sockets_and_lines[] = {
      {aaad_.own(), "send fail error Broken pipe.\r\n"},
      {-1, "send fail error Invalid argument.\r\n"}};
  aaad_.close_peer();
  for (const auto& [fd, line] : sockets_and_lines) {
    const OpenLog log;
    use_request_socket(fd);
    add(request(8192, 1));
    expect_only_line(log, "aaa_lib_add_send_buf", line);
  }
}

TEST_F(SendBufferFailures, AClosedGateHidesThemAll) {
  const LogCapture log;
  aaad_.close_peer();
  add_many(17);
  add(request(8192, 1));
  use_request_socket(-1);
  add_many(17);
  EXPECT_TRUE(log.lines().empty());
}

class SendBufferWrites : public SendBuffer {};

TEST_F(SendBufferWrites, OfABatchOrALongMessageAreOneWithWaitAllUnderTheBuffersLock) {
  std::vector<std::size_t> sizes;
  std::vector<std::vector<std::string>> locks;
  const ScriptedCalls calls({.send = [&](int, const void*, std::size_t size, int flags) {
    sizes.push_back(size);
    locks.push_back(locks_held());
    EXPECT_EQ(0x100, flags & 0x100);
    return std::nullopt;
  }});
  add_many(17);
  add(request(8192, 2));
  EXPECT_THAT(sizes, ElementsAre(272, 32, 8192));
  for (const std::vector<std::string>& held : locks)
    EXPECT_THAT(held, ElementsAre("aaa_lib_send_buf_lock", "request_write_lock"));
}

TEST_F(SendBufferWrites, MayHappenUnderTheBuffersLockWhichIsRecursive) {
  const aaa::ScopedLock once(aaa_lib_send_buf_lock);
  const aaa::ScopedLock twice(aaa_lib_send_buf_lock);
  add_many(17);
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
}

// The messages of one thread among all that crossed the socket, by their marks, in order.
std::vector<std::uint8_t> marks_of(const std::string& stream, std::uint32_t type) {
  std::vector<std::uint8_t> marks;
  for (std::size_t at = 0; at + 16 <= stream.size();) {
    const bool is_batch = word_at(stream, at + 8) == 25;
    if (word_at(stream, at + 8) == type)
      marks.push_back(static_cast<std::uint8_t>(stream[at + 16]));
    at += 16 + (is_batch ? 0 : word_at(stream, at + 12));
  }
  return marks;
}

TEST_F(SendBufferWrites, OfManyThreadsLoseNoMessageNorSplitNorReorderThem) {
  constexpr std::size_t count = 200;
  on_threads(3, [](std::uint32_t n) {
    for (std::size_t mark = 0; mark < count; ++mark)
      add(message_bytes(5 + n, std::string(5, static_cast<char>(mark))));
  });
  aaa_lib_send_buf();
  const std::string stream = sent();
  for (std::uint32_t type = 5; type <= 7; ++type) {
    const std::vector<std::uint8_t> marks = marks_of(stream, type);
    EXPECT_EQ(count, marks.size());
    EXPECT_TRUE(std::is_sorted(marks.begin(), marks.end()));
  }
}

}  // namespace test::send_buffer
