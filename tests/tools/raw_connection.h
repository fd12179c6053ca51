// A connection to the simulator that carries literal bytes, without the client library.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "server/file_descriptor.h"
#include "wire/message.h"

namespace aaa_sim_test {

using aaa_sim::Bytes;

// Pairs of hexadecimal digits; blanks between them do not count.
Bytes hex(std::string_view text);

Bytes operator+(Bytes left, const Bytes& right);

// A body of text, without a NUL.
Bytes text(std::string_view characters);

// A message: a header of literal layout ahead of the body.
Bytes framed(std::uint8_t type, const Bytes& body = {}, std::uint8_t id = 0);

// The 32-bit word in host byte order at `offset`; fails the test when there is none.
std::uint32_t word_at(const Bytes& bytes, std::size_t offset);

class RawConnection {
 public:
  // Connects, or fails the test.
  explicit RawConnection(const std::string& path);

  void send(const Bytes& bytes);
  // Exactly `size` bytes; fewer when they do not come within 5 seconds or the peer closes.
  Bytes receive(std::size_t size);
  // Header and body; empty when they do not come whole.
  Bytes receive_message();
  // Bytes that can be received at once.
  std::size_t available() const;
  // Whether nothing has come within this time.
  bool stays_silent(std::chrono::milliseconds duration);
  // Whether the peer closes within 5 seconds, after whatever it still sends.
  bool is_closed_by_peer();
  void close() { socket_.reset(); }

 private:
  bool wait_readable(std::chrono::milliseconds patience);

  aaa_sim::FileDescriptor socket_;
};

// Register requests; the model name has four characters.
Bytes register_request(std::string_view model = "netd");
Bytes register_event(std::string_view model = "netd");

// Both connections of a client, registered, answers read.
struct RawClient {
  explicit RawClient(const std::string& path, std::string_view model = "netd");

  RawConnection request;
  RawConnection event;
};

}  // namespace aaa_sim_test
