// Message bodies as tests write and read them, byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "aaa_codec.h"
#include "transport/base/memory.h"

namespace test {

using Bytes = std::vector<std::uint8_t>;

inline std::uint16_t word16(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes.at(offset) | bytes.at(offset + 1) << 8);
}

inline std::uint32_t word32(const Bytes& bytes, std::size_t offset) {
  return word16(bytes, offset) | static_cast<std::uint32_t>(word16(bytes, offset + 2)) << 16;
}

inline Bytes part(const Bytes& bytes, std::size_t offset, std::size_t count) {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  return {first, first + static_cast<std::ptrdiff_t>(count)};
}

// An item that stands in a body.
struct Item {
  std::uint16_t type;
  std::string value;
  bool operator==(const Item&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Item& item) {
  return out << "item " << item.type << " of " << item.value.size() << " bytes '"
             << item.value.substr(0, 40) << "'";
}

// The items of a well-formed body from `offset` on.
inline std::vector<Item> items_of(const Bytes& body, std::size_t offset = 0) {
  std::vector<Item> items;
  while (offset < body.size()) {
    const std::size_t length = word16(body, offset + 2);
    const auto first = body.begin() + static_cast<std::ptrdiff_t>(offset + 4);
    items.push_back(
        {word16(body, offset), std::string(first, first + static_cast<std::ptrdiff_t>(length))});
    offset += 4 + length;
  }
  return items;
}

// Builds a body; what it claims need not be true.
class BodyBuilder {
 public:
  BodyBuilder& bytes(const std::string& bytes) {
    body_.insert(body_.end(), bytes.begin(), bytes.end());
    return *this;
  }

  BodyBuilder& zeros(std::size_t count) { return bytes(std::string(count, '\0')); }

  BodyBuilder& word16(std::uint32_t word) {
    return bytes({static_cast<char>(word), static_cast<char>(word >> 8)});
  }

  BodyBuilder& word32(std::uint32_t word) { return word16(word).word16(word >> 16); }

  BodyBuilder& header(std::uint32_t type, std::size_t length) {
    return word16(type).word16(static_cast<std::uint32_t>(length));
  }

  BodyBuilder& item(std::uint32_t type, const std::string& value) {
    return header(type, value.size()).bytes(value);
  }

  const Bytes& body() const { return body_; }

 private:
  Bytes body_;
};

// A descriptor of a value that the caller keeps.
inline aaa_item item(std::string_view value) {
  return {0, static_cast<std::uint16_t>(value.size()), value.data()};
}

inline std::string text(const void* bytes, std::size_t length) {
  if (bytes == nullptr) return "(null)";
  return {static_cast<const char*>(bytes), length};
}

inline std::string text(const aaa_item& item) {
  return text(item.value, item.len);
}

// The encoder's body, released; empty when it returned 0.
template <typename Record>
Bytes encoded(std::uint32_t (*encode)(Record*, void**), Record& record) {
  void* body = nullptr;
  const std::uint32_t size = encode(&record, &body);
  const auto* first = static_cast<const std::uint8_t*>(body);
  Bytes bytes(first, first + size);
  AAA_FREE(body);
  return bytes;
}

// The counters of blocks, as differences from the time of construction.
class BlockCounts {
 public:
  std::uint32_t allocated() const { return g_aaa_malloc_times - allocated_; }
  std::uint32_t failed() const { return g_aaa_malloc_fail_times - failed_; }
  std::uint32_t freed() const { return g_aaa_free_times - freed_; }
  std::uint32_t live() const { return allocated() - freed(); }

 private:
  std::uint32_t allocated_ = g_aaa_malloc_times;
  std::uint32_t failed_ = g_aaa_malloc_fail_times;
  std::uint32_t freed_ = g_aaa_free_times;
};

}  // namespace test
