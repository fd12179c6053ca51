// Messages as bytes, made and read at literal places.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "wire/message.h"

namespace test {

using aaa_sim::Bytes;

inline Bytes words(std::initializer_list<std::uint32_t> values) {
  Bytes bytes(4 * values.size());
  std::memcpy(bytes.data(), values.begin(), bytes.size());
  return bytes;
}

inline Bytes text(const char* characters) {
  return Bytes(characters, characters + std::strlen(characters));
}

inline Bytes operator+(const Bytes& left, const Bytes& right) {
  Bytes both(left.size() + right.size());
  std::copy(right.begin(), right.end(), std::copy(left.begin(), left.end(), both.begin()));
  return both;
}

inline std::uint32_t word_at(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  if (offset + 4 <= bytes.size()) std::memcpy(&word, bytes.data() + offset, 4);
  return word;
}

inline Bytes part(const Bytes& bytes, std::size_t offset, std::size_t size) {
  if (offset + size > bytes.size()) return {};
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  return Bytes(begin, begin + static_cast<std::ptrdiff_t>(size));
}

// A message as it crosses a socket.
inline Bytes framed(std::uint32_t type, std::uint32_t id, const Bytes& body) {
  return words({0x01010101, id, type, static_cast<std::uint32_t>(body.size())}) + body;
}

// A framed message of `size` bytes in all, at least 16, that `mark` tells from others.
inline Bytes request(std::size_t size, std::uint8_t mark) {
  return framed(5, mark, Bytes(size - 16, mark));
}

// A copy of whatever lies at `place`.
inline Bytes bytes_of(const void* place, std::size_t size) {
  const auto* const first = static_cast<const std::uint8_t*>(place);
  return Bytes(first, first + size);
}

}  // namespace test
