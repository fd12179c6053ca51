// The send buffer over a socket whose other end the test reads, without a flush thread.
#pragma once

#include "received_bytes.h"
#include "runtime/send/send_buffer.h"
#include "support/library_test.h"
#include "transport/base/atomic_word.h"

namespace test {

class SendBufferTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    aaa_lib_send_buf_reset();
    ASSERT_TRUE(aaad_.open());
    use_request_socket(aaad_.own());
  }
  void TearDown() override {
    use_request_socket(-1);
    aaad_.close();
    aaa_lib_send_buf_reset();
    LibraryTest::TearDown();
  }

  static void use_request_socket(int fd) { aaa::store(g_aaa_client_cb.sync_fd, fd); }

  static void add(const Bytes& message) {
    aaa_lib_add_send_buf(message.data(), static_cast<std::uint32_t>(message.size()));
  }
  // Adds so many messages of 16 bytes and returns them as they lie in the body.
  static Bytes add_many(std::uint8_t count) {
    Bytes body;
    for (std::uint8_t i = 0; i < count; ++i) {
      add(request(16, i));
      body = body + request(16, i);
    }
    return body;
  }

  static Bytes buffer() { return bytes_of(&aaalib_send_buf, sizeof aaalib_send_buf); }
  Bytes sent() { return received_bytes(aaad_); }

  SocketPair aaad_;
};

// What crosses the socket when these messages are flushed.
inline Bytes batch_of(const Bytes& messages) {
  return words({0x01010101, 0, 25, static_cast<std::uint32_t>(messages.size())}) + messages;
}

}  // namespace test
