// What lies in the send buffer, and when it is written.
#include "send_buffer_test.h"

#include "lock_probe.h"

namespace test {
namespace {

TEST_F(SendBufferTest, TheEmptyBufferIsAMessageOfType25WithoutABody) {
  ASSERT_EQ(8208u, sizeof aaalib_send_buf);
  EXPECT_EQ(words({0x01010101, 0, 25, 0}) + Bytes(8192, 0), buffer());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
}

TEST_F(SendBufferTest, MessagesLieBackToBackInTheOrderInWhichTheyWereAdded) {
  add(request(20, 1));
  add(request(33, 2));
  EXPECT_EQ(words({0x01010101, 0, 25, 53}), part(buffer(), 0, 16));
  EXPECT_EQ(request(20, 1), part(buffer(), 16, 20));
  EXPECT_EQ(request(33, 2), part(buffer(), 36, 33));
  EXPECT_EQ(Bytes(8208 - 69, 0), part(buffer(), 69, 8208 - 69));
  EXPECT_EQ(2u, g_send_buf_msg_cnt);
  EXPECT_EQ(Bytes(), sent());
}

TEST_F(SendBufferTest, TheMessageStaysTheCallers) {
  Bytes message = request(20, 1);
  add(message);
  EXPECT_EQ(request(20, 1), message);
  message.assign(20, 0xee);
  EXPECT_EQ(request(20, 1), part(buffer(), 16, 20));
}

TEST_F(SendBufferTest, ResetEmptiesTheBuffer) {
  add(request(8191, 1));
  aaa_lib_send_buf_reset();
  EXPECT_EQ(words({0x01010101, 0, 25, 0}) + Bytes(8192, 0), buffer());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
  EXPECT_EQ(Bytes(), sent());
}

TEST_F(SendBufferTest, ResetRestoresTheHeader) {
  aaalib_send_buf.header = {.marker = 9, .id = 9, .type = 9, .length = 0};
  aaa_lib_send_buf_reset();
  EXPECT_EQ(words({0x01010101, 0, 25, 0}), part(buffer(), 0, 16));
}

TEST_F(SendBufferTest, TheFirstInitResetsTheBuffer) {
  g_send_buf_init = 0;
  add(request(20, 1));
  aaa_lib_send_buf_init();
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
  EXPECT_EQ(Bytes(8192, 0), part(buffer(), 16, 8192));
  EXPECT_EQ(1, g_send_buf_init);
}

TEST_F(SendBufferTest, LaterInitsDoNothing) {
  g_send_buf_init = 1;
  add(request(20, 1));
  aaa_lib_send_buf_init();
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(request(20, 1), part(buffer(), 16, 20));
}

TEST_F(SendBufferTest, SixteenMessagesAreHeld) {
  add_many(16);
  EXPECT_EQ(Bytes(), sent());
  EXPECT_EQ(16u, g_send_buf_msg_cnt);
  EXPECT_EQ(256u, word_at(buffer(), 12));
}

TEST_F(SendBufferTest, TheSeventeenthMessageFlushesTheFirstSixteenBeforeItIsStored) {
  const Bytes sixteen = add_many(16);
  add(request(20, 17));
  EXPECT_EQ(batch_of(sixteen), sent());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(words({0x01010101, 0, 25, 20}) + request(20, 17), part(buffer(), 0, 36));
  EXPECT_EQ(Bytes(8172, 0), part(buffer(), 36, 8172));
}

TEST_F(SendBufferTest, ABodyOf8191BytesIsStored) {
  add(request(8000, 1));
  add(request(191, 2));
  EXPECT_EQ(Bytes(), sent());
  EXPECT_EQ(8191u, word_at(buffer(), 12));
  EXPECT_EQ(request(191, 2), part(buffer(), 8016, 191));
}

TEST_F(SendBufferTest, AMessageThatWouldMakeTheBody8192BytesFlushesFirst) {
  add(request(8000, 1));
  add(request(192, 2));
  EXPECT_EQ(batch_of(request(8000, 1)), sent());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(words({0x01010101, 0, 25, 192}) + request(192, 2), part(buffer(), 0, 208));
}

TEST_F(SendBufferTest, AMessageOf8191BytesIsStored) {
  add(request(8191, 1));
  EXPECT_EQ(Bytes(), sent());
  EXPECT_EQ(1u, g_send_buf_msg_cnt);
  EXPECT_EQ(8191u, word_at(buffer(), 12));
}

TEST_F(SendBufferTest, AMessageOf8192BytesIsSentAloneAfterWhatWasBuffered) {
  add(request(20, 1));
  add(request(8192, 2));
  EXPECT_EQ(batch_of(request(20, 1)) + request(8192, 2), sent());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
  EXPECT_EQ(words({0x01010101, 0, 25, 0}) + Bytes(8192, 0), buffer());
}

TEST_F(SendBufferTest, ALongerMessageIsSentAlone) {
  add(request(20000, 2));
  EXPECT_EQ(request(20000, 2), sent());
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
}

TEST_F(SendBufferTest, AFlushWritesTheHeaderAndTheUsedPartAndDoesNotReset) {
  add(request(20, 1));
  add(request(24, 2));
  aaa_lib_send_buf();
  EXPECT_EQ(batch_of(request(20, 1) + request(24, 2)), sent());
  EXPECT_EQ(2u, g_send_buf_msg_cnt);
  EXPECT_EQ(44u, word_at(buffer(), 12));
}

TEST_F(SendBufferTest, AnEmptyBufferIsNeverSent) {
  aaa_lib_send_buf();
  EXPECT_EQ(Bytes(), sent());
}

TEST_F(SendBufferTest, AnEmptyBufferIsNoReasonToComplainOfAMissingSocket) {
  const OpenGate gate;
  const LogCapture log;
  use_request_socket(-1);
  aaa_lib_send_buf();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(SendBufferTest, TheTimerWordsAreLeftAlone) {
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

}  // namespace
}  // namespace test
