// Bodies of records, byte by byte, and what tests of encoders and decoders look at.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "aaa_codec.h"
#include "support/bytes.h"
#include "support/encoded_body.h"
#include "support/failing_allocator.h"
#include "support/library_counters.h"

namespace test {

// An item as it stands in a body, and its header with whatever length the test says.
inline std::string tlv_head(std::uint32_t type, std::size_t length) {
  return word_bytes(type | static_cast<std::uint32_t>(length) << 16);
}
inline std::string tlv(std::uint32_t type, const std::string& value) {
  return tlv_head(type, value.size()) + value;
}

// The types and values of the items of a well-formed body from `offset` on.
using Item = std::pair<std::uint32_t, std::string>;
inline std::vector<Item> items_of(const std::string& body, std::size_t offset = 0) {
  std::vector<Item> items;
  while (offset < body.size()) {
    const std::size_t length = word_at<std::uint16_t>(body, offset + 2);
    items.emplace_back(word_at<std::uint16_t>(body, offset), body.substr(offset + 4, length));
    offset += 4 + length;
  }
  return items;
}

inline std::string text(const void* bytes, std::size_t length) {
  return bytes == nullptr ? "(null)" : bytes_of(bytes, length);
}
inline std::string text(const aaa_item& item) {
  return text(item.value, item.len);
}

class CodecTest : public testing::Test {
 protected:
  ~CodecTest() override { EXPECT_EQ(counts_.blocks_left(), blocks_left_) << "blocks are left"; }

  TrackedHeap heap_;
  LibraryCounters counts_;
  // Copies of repeated items are not freed but for the last.
  std::uint32_t blocks_left_ = 0;
};

}  // namespace test
