// Bytes and frames, made and read at literal places.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

#include "aaa_client.h"
#include "wire/message.h"

namespace test {

// 32-bit words as they stand in a message.
inline std::string word_bytes(std::initializer_list<std::uint32_t> words) {
  return {reinterpret_cast<const char*>(words.begin()), 4 * words.size()};
}
inline std::string word_bytes(std::uint32_t word) {
  return word_bytes({word});
}
template <class Word = std::uint32_t>
Word word_at(const std::string& bytes, std::size_t offset) {
  Word word = 0;
  std::memcpy(&word, bytes.substr(offset, sizeof word).data(), sizeof word);
  return word;
}

inline std::string zeros(std::size_t size) {
  return std::string(size, '\0');
}

// Bytes given as hexadecimal digits; blanks are ignored.
inline std::string hex(const std::string& digits) {
  std::string bytes;
  std::string pair;
  for (const char digit : digits) {
    if (digit == ' ') continue;
    pair += digit;
    if (pair.size() < 2) continue;
    bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
    pair.clear();
  }
  return bytes;
}

// A message as aaad writes it.
inline std::string message_bytes(std::uint32_t type, const std::string& body = "",
                                 std::uint32_t marker = 0x01010101, std::uint32_t id = 0) {
  return word_bytes({marker, id, type, static_cast<std::uint32_t>(body.size())}) + body;
}

// The same with an id.
inline std::string message_with_id(std::uint32_t id, std::uint32_t type,
                                   const std::string& body = "") {
  return word_bytes({0x01010101, id, type, static_cast<std::uint32_t>(body.size())}) + body;
}
// An item in a body: its type and its length in 16 bits each, and the value.
inline std::string item_bytes(std::uint32_t type, const std::string& value) {
  return word_bytes(type | static_cast<std::uint32_t>(value.size()) << 16) + value;
}
// An item in a record, of bytes that the caller keeps.
inline aaa_item record_item(std::string_view value) {
  return {0, static_cast<std::uint16_t>(value.size()), value.data()};
}

// A copy of whatever lies at `place`.
inline std::string bytes_of(const void* place, std::size_t size) {
  return {static_cast<const char*>(place), size};
}
inline std::string bytes_of(const aaa_sim::Message& message) {
  return {message.bytes.begin(), message.bytes.end()};
}
// Bytes as the simulator keeps them, and as it takes them.
inline aaa_sim::Bytes sim_bytes(const std::string& bytes) {
  return {bytes.begin(), bytes.end()};
}
inline aaa_sim::View view(const std::string& bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// A block of the library as bytes; frees it.
inline std::string take_block(void* block, std::uint32_t length) {
  const std::string bytes(static_cast<const char*>(block), block == nullptr ? 0 : length);
  aaa_free(__LINE__, __func__, block);
  return bytes;
}
// A message that the library handed out, or "none"; frees it.
inline std::string take_message(aaa_ipc_header* message) {
  return message == nullptr ? "none" : take_block(message, 16 + message->length);
}

}  // namespace test
