// The send buffer over a socket whose other end the test reads, without a flush thread.
#pragma once

#include "runtime/send/send_buffer.h"
#include "support/library_test.h"
#include "support/locked_state.h"

namespace test {

// A message of `size` bytes in all, at least 16, that `mark` tells from others.
inline std::string request(std::size_t size, std::uint8_t mark) {
  return word_bytes({0x01010101, mark, 5, static_cast<std::uint32_t>(size - 16)}) +
         std::string(size - 16, static_cast<char>(mark));
}
// What crosses the socket when these messages are flushed.
inline std::string batch_of(const std::string& messages) {
  return word_bytes({0x01010101, 0, 25, static_cast<std::uint32_t>(messages.size())}) + messages;
}

inline void add(const std::string& message) {
  aaa_lib_add_send_buf(message.data(), static_cast<std::uint32_t>(message.size()));
}
// Adds so many messages of 16 bytes and returns them as they lie in the body.
inline std::string add_many(std::uint8_t count) {
  std::string body;
  for (std::uint8_t i = 0; i < count; ++i) {
    add(request(16, i));
    body += request(16, i);
  }
  return body;
}

class SendBufferTest : public LibraryTest {
 protected:
  SendBufferTest() {
    aaa_lib_send_buf_reset();
    use_request_socket(aaad_.own());
    test::set_model_name("test");
  }
  ~SendBufferTest() override { aaa_lib_send_buf_reset(); }

  static void use_request_socket(int fd) { aaa::store(g_aaa_client_cb.sync_fd, fd); }

  // Expects these messages in the buffer, and zeros behind them.
  static void expect_buffer(const std::string& messages, std::uint32_t count) {
    EXPECT_EQ(batch_of(messages) + zeros(8192 - messages.size()),
              bytes_of(&aaalib_send_buf, sizeof aaalib_send_buf));
    EXPECT_EQ(count, g_send_buf_msg_cnt);
  }
  std::string sent() { return aaad_.peer_reads(); }

  ScriptedPeer aaad_;
};

}  // namespace test
