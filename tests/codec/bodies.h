// Bodies as vectors of bytes, in which traffic and fuzz targets keep them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "aaa_codec.h"
#include "transport/base/memory.h"

namespace test {

using Bytes = std::vector<std::uint8_t>;

inline std::uint32_t word32(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  for (std::size_t n = 4; n > 0; --n)
    word = word << 8 | bytes.at(offset + n - 1);
  return word;
}

class BodyBuilder {
 public:
  BodyBuilder& bytes(const std::string& bytes) {
    body_.insert(body_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  BodyBuilder& word16(std::uint32_t word) {
    return bytes({static_cast<char>(word), static_cast<char>(word >> 8)});
  }
  BodyBuilder& word32(std::uint32_t word) { return word16(word).word16(word >> 16); }

  const Bytes& body() const { return body_; }

 private:
  Bytes body_;
};

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

}  // namespace test
