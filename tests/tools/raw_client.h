// Literal bytes, and connections to the simulator that carry them without the client library.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "server/file_descriptor.h"
#include "wire/message.h"

namespace aaa_sim_test {

using aaa_sim::Bytes;

// Pairs of hexadecimal digits; blanks are ignored.
Bytes hex(std::string_view digits);
// Without a NUL.
Bytes text(std::string_view characters);
Bytes operator+(Bytes left, const Bytes& right);

// Header and body.
Bytes framed(std::uint8_t type, const Bytes& body = {}, std::uint8_t id = 0);

// In host byte order. Fails the test if the bytes end before it.
std::uint32_t word_at(const Bytes& bytes, std::size_t offset);

class RawConnection {
 public:
  // Connects, or fails the test.
  explicit RawConnection(const std::string& path);

  void send(const Bytes& bytes);
  // Less than `size` bytes after 5 seconds or when the peer closes.
  Bytes receive(std::size_t size);
  // Header and body; empty after a timeout.
  Bytes receive_message();
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
Bytes register_request(std::string_view model = "netd");
Bytes register_event(std::string_view model = "netd");

// A registered client. Its registration's answers have been read.
struct RawClient {
  explicit RawClient(const std::string& path, std::string_view model = "netd");

  RawConnection request;
  RawConnection event;
};

}  // namespace aaa_sim_test
