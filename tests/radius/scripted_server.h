// A RADIUS server whose bytes the test makes, and packets made without the code under test.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "server/file_descriptor.h"
#include "support/bytes.h"

namespace radius_test {

using aaa_sim::Bytes;

// Packets are bytes that are computed with, not text.
inline Bytes text(std::string_view characters) {
  return Bytes(characters.begin(), characters.end());
}
inline Bytes hex(std::string_view digits) {
  return text(test::hex(std::string(digits)));
}
inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}
inline std::string string_of(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}
inline Bytes framed(std::uint8_t type, const Bytes& body, std::uint32_t id = 0) {
  return text(test::message_with_id(id, type, string_of(body)));
}
inline std::uint32_t word_at(const Bytes& bytes, std::size_t offset) {
  return test::word_at(string_of(bytes), offset);
}

inline const std::string kSecret = "xyzzy5461";
inline const std::string kLoopback = "127.0.0.1";

Bytes digest(const Bytes& bytes);                           // MD5
Bytes hmac(const Bytes& bytes, const std::string& secret);  // HMAC-MD5

Bytes part(const Bytes& bytes, std::size_t offset, std::size_t size);

// Type, length, value.
Bytes attribute(std::uint8_t type, const Bytes& value);
inline Bytes attribute(std::uint8_t type, std::string_view value) {
  return attribute(type, text(value));
}
// The value of the first attribute of the type in a packet; "-" when there is none.
Bytes value_of(const Bytes& packet, std::uint8_t type);
inline const Bytes kNoValue = text("-");

// The clear text in a User-Password, padding included.
Bytes reveal_password(const Bytes& request, const std::string& secret);

enum class Signature { valid, none, twice, wrong, too_short };

// A reply; the Message-Authenticator is its first attribute.
Bytes reply_to(const Bytes& request, std::uint8_t code, const Bytes& attributes = {},
               const std::string& secret = kSecret, Signature signature = Signature::valid);

// A Disconnect-Request (40) or CoA-Request (43).
Bytes dynamic_request(std::uint8_t code, std::uint8_t identifier, const Bytes& attributes,
                      const std::string& secret = kSecret, Signature signature = Signature::none);

class ScriptedServer {
 public:
  struct Datagram {
    Bytes bytes;
    sockaddr_storage from;
    socklen_t from_size;
  };

  // On this port, or on a free one.
  explicit ScriptedServer(std::uint16_t port = 0, const std::string& address = kLoopback);

  std::uint16_t port() const { return port_; }
  int fd() const { return socket_.get(); }
  // Fails the test when none has come in 5 seconds.
  Datagram receive();
  // None has come.
  bool stays_silent(std::chrono::milliseconds duration = std::chrono::milliseconds(20));
  void send(const Bytes& bytes, const Datagram& to);
  void send(const Bytes& bytes, std::uint16_t to_port, const std::string& address = kLoopback);
  // Receives a request and accepts it.
  Datagram accept_next();

 private:
  bool wait_readable(std::chrono::milliseconds timeout);

  aaa_sim::FileDescriptor socket_;
  std::uint16_t port_;
};

// A loopback address of this process alone: what was a free port there stays one.
std::string own_address();
// One that nothing listens on there.
std::uint16_t free_port();

}  // namespace radius_test
