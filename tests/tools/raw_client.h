// Connections to the simulator that carry literal bytes, without the client library.
#pragma once

#include <chrono>
#include <string>

#include "server/file_descriptor.h"
#include "support/bytes.h"

namespace aaa_sim_test {

using aaa_sim::Bytes;
using test::bytes_of;
using test::hex;
using test::item_bytes;
using test::message_bytes;
using test::message_with_id;
using test::word_at;
using test::word_bytes;
using test::zeros;

class RawConnection {
 public:
  // Connects, or fails the test.
  explicit RawConnection(const std::string& path);

  void send(const std::string& bytes);
  // False when the peer has closed.
  bool try_send(const std::string& bytes);
  // Less than `size` bytes after 5 seconds or when the peer closes.
  std::string receive(std::size_t size);
  // Header and body; empty after a timeout.
  std::string receive_message();
  // Bytes that have arrived.
  std::size_t available() const;
  bool stays_silent(std::chrono::milliseconds duration = std::chrono::milliseconds(20));
  bool is_closed_by_peer();
  void close() { socket_.reset(); }

 private:
  bool wait_readable(std::chrono::milliseconds timeout);

  aaa_sim::FileDescriptor socket_;
};

// The model name has four characters.
std::string register_request(const std::string& model = "netd");
std::string register_event(const std::string& model = "netd");

// A registered client. Its registration's answers have been read.
struct RawClient {
  explicit RawClient(const std::string& path, const std::string& model = "netd");

  RawConnection request;
  RawConnection event;
};

}  // namespace aaa_sim_test
