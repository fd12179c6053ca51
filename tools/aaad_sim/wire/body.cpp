#include "wire/body.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

namespace aaa_sim {

View BodyReader::bytes(std::size_t size) {
  if (size > rest_.size()) throw BadBody("body truncated");
  const View taken = rest_.first(size);
  rest_ = rest_.subspan(size);
  return taken;
}

std::uint32_t BodyReader::word() {
  std::uint32_t value;
  std::memcpy(&value, bytes(sizeof value).data(), sizeof value);
  return value;
}

std::uint32_t BodyReader::network_word() {
  return ::ntohl(word());
}

std::uint16_t BodyReader::short_word() {
  std::uint16_t value;
  std::memcpy(&value, bytes(sizeof value).data(), sizeof value);
  return value;
}

std::string BodyReader::text(std::size_t size) {
  const View taken = bytes(size);
  return {taken.begin(), taken.end()};
}

std::string BodyReader::last_text() {
  const View taken = bytes(left());
  return {taken.begin(), std::ranges::find(taken, std::uint8_t{0})};
}

}  // namespace aaa_sim
