#include "radius/scripted_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <nettle/hmac.h>
#include <nettle/md5.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace radius_test {
namespace {

constexpr std::chrono::milliseconds kRequestTimeout{5000};
constexpr std::size_t kHeaderSize = 20;
constexpr std::size_t kAuthenticatorAt = 4;
constexpr std::size_t kSignatureAt = kHeaderSize + 2;

Bytes signature_space(Signature signature) {
  switch (signature) {
    case Signature::none:
      return {};
    case Signature::twice:
      return attribute(80, Bytes(16)) + attribute(80, Bytes(16));
    case Signature::too_short:
      return attribute(80, Bytes(15));
    default:
      return attribute(80, Bytes(16));
  }
}

void put(Bytes& packet, std::size_t offset, const Bytes& bytes) {
  std::copy(bytes.begin(), bytes.end(), packet.begin() + static_cast<std::ptrdiff_t>(offset));
}

void sign(Bytes& packet, const std::string& secret, Signature signature) {
  if (signature == Signature::none) return;
  Bytes value = hmac(packet, secret);
  if (signature == Signature::wrong) value[15] ^= 1;
  if (signature == Signature::too_short) value.pop_back();
  put(packet, kSignatureAt, value);
  if (signature == Signature::twice) put(packet, kSignatureAt + 18, value);
}

Bytes signed_packet(std::uint8_t code, std::uint8_t identifier, const Bytes& authenticator,
                    const Bytes& attributes, const std::string& secret, Signature signature) {
  Bytes packet =
      Bytes{code, identifier, 0, 0} + authenticator + signature_space(signature) + attributes;
  packet[2] = static_cast<std::uint8_t>(packet.size() >> 8);
  packet[3] = static_cast<std::uint8_t>(packet.size());
  sign(packet, secret, signature);
  put(packet, kAuthenticatorAt, digest(packet + text(secret)));
  return packet;
}

const sockaddr* generic(const sockaddr_storage& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

sockaddr_storage address_of(const std::string& host, std::uint16_t port, socklen_t& size) {
  sockaddr_storage address{};
  auto& v4 = reinterpret_cast<sockaddr_in&>(address);
  auto& v6 = reinterpret_cast<sockaddr_in6&>(address);
  const bool is_v4 = ::inet_pton(AF_INET, host.c_str(), &v4.sin_addr) == 1;
  EXPECT_TRUE(is_v4 || ::inet_pton(AF_INET6, host.c_str(), &v6.sin6_addr) == 1) << host;
  address.ss_family = is_v4 ? AF_INET : AF_INET6;
  v4.sin_port = htons(port);  // at the same place in both
  size = is_v4 ? sizeof v4 : sizeof v6;
  return address;
}

}  // namespace

Bytes digest(const Bytes& bytes) {
  md5_ctx context;
  md5_init(&context);
  md5_update(&context, bytes.size(), bytes.data());
  Bytes result(MD5_DIGEST_SIZE);
  md5_digest(&context, result.size(), result.data());
  return result;
}

Bytes hmac(const Bytes& bytes, const std::string& secret) {
  hmac_md5_ctx context;
  hmac_md5_set_key(&context, secret.size(), reinterpret_cast<const std::uint8_t*>(secret.data()));
  hmac_md5_update(&context, bytes.size(), bytes.data());
  Bytes result(MD5_DIGEST_SIZE);
  hmac_md5_digest(&context, result.size(), result.data());
  return result;
}

Bytes part(const Bytes& bytes, std::size_t offset, std::size_t size) {
  EXPECT_LE(offset + size, bytes.size());
  const std::size_t begin = std::min(offset, bytes.size());
  const std::size_t count = std::min(size, bytes.size() - begin);
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
  return Bytes(first, first + static_cast<std::ptrdiff_t>(count));
}

Bytes attribute(std::uint8_t type, const Bytes& value) {
  return Bytes{type, static_cast<std::uint8_t>(value.size() + 2)} + value;
}

Bytes value_of(const Bytes& packet, std::uint8_t type) {
  for (std::size_t at = kHeaderSize; at + 2 <= packet.size() && packet[at + 1] >= 2;
       at += packet[at + 1])
    if (packet[at] == type) return part(packet, at + 2, packet[at + 1] - 2u);
  return kNoValue;
}

Bytes reveal_password(const Bytes& request, const std::string& secret) {
  const Bytes hidden = value_of(request, 2);
  Bytes clear;
  Bytes previous = part(request, kAuthenticatorAt, 16);
  for (std::size_t at = 0; at + 16 <= hidden.size(); at += 16) {
    const Bytes mask = digest(text(secret) + previous);
    previous = part(hidden, at, 16);
    for (std::size_t n = 0; n < 16; ++n)
      clear.push_back(previous[n] ^ mask[n]);
  }
  return clear;
}

Bytes reply_to(const Bytes& request, std::uint8_t code, const Bytes& attributes,
               const std::string& secret, Signature signature) {
  return signed_packet(code, request.at(1), part(request, kAuthenticatorAt, 16), attributes, secret,
                       signature);
}

Bytes dynamic_request(std::uint8_t code, std::uint8_t identifier, const Bytes& attributes,
                      const std::string& secret, Signature signature) {
  return signed_packet(code, identifier, Bytes(16), attributes, secret, signature);
}

ScriptedServer::ScriptedServer(std::uint16_t port, const std::string& host) {
  socklen_t size = 0;
  sockaddr_storage address = address_of(host, port, size);
  socket_ = aaa_sim::checked(::socket(address.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
  const int room = 1 << 20;  // for requests that the test does not read at once
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
  if (::bind(socket_.get(), generic(address), size) != 0)
    throw std::system_error(errno, std::generic_category(), "bind");
  ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size);
  port_ = ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

ScriptedServer::Datagram ScriptedServer::receive() {
  Datagram datagram{Bytes(8192), {}, sizeof(sockaddr_storage)};
  if (!wait_readable(kRequestTimeout)) {
    ADD_FAILURE() << "no request in time";
    return {Bytes(kHeaderSize), {}, 0};
  }
  const ssize_t size = ::recvfrom(socket_.get(), datagram.bytes.data(), datagram.bytes.size(), 0,
                                  reinterpret_cast<sockaddr*>(&datagram.from), &datagram.from_size);
  datagram.bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return datagram;
}

bool ScriptedServer::stays_silent(std::chrono::milliseconds duration) {
  return !wait_readable(duration);
}

void ScriptedServer::send(const Bytes& bytes, const Datagram& to) {
  EXPECT_EQ(::sendto(socket_.get(), bytes.data(), bytes.size(), 0, generic(to.from), to.from_size),
            static_cast<ssize_t>(bytes.size()));
}

void ScriptedServer::send(const Bytes& bytes, std::uint16_t to_port, const std::string& address) {
  Datagram to{};
  to.from = address_of(address, to_port, to.from_size);
  send(bytes, to);
}

ScriptedServer::Datagram ScriptedServer::accept_next() {
  Datagram request = receive();
  if (request.from_size != 0) send(reply_to(request.bytes, 2), request);
  return request;
}

bool ScriptedServer::wait_readable(std::chrono::milliseconds timeout) {
  pollfd wait{socket_.get(), POLLIN, 0};
  return ::poll(&wait, 1, static_cast<int>(timeout.count())) == 1;
}

std::string own_address() {
  const auto pid = static_cast<unsigned>(::getpid());
  return "127." + std::to_string(64 + (pid >> 16 & 63)) + "." + std::to_string(pid >> 8 & 255) +
         "." + std::to_string(pid & 255);
}

std::uint16_t free_port() {
  return ScriptedServer(0, own_address()).port();
}

}  // namespace radius_test
