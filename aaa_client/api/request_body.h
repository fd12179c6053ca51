// The body of a request: wiped when it is released, since it may hold a password.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "transport/base/memory.h"

namespace aaa {

class RequestBody {
 public:
  // A size that does not fit a message counts as an allocation failure.
  explicit RequestBody(std::uint64_t size)
      : bytes_(size > INT32_MAX ? nullptr
                                : static_cast<char*>(AAA_MALLOC(static_cast<std::uint32_t>(size)))),
        size_(static_cast<std::uint32_t>(size)) {
    if (bytes_ != nullptr) std::memset(bytes_, 0, size_);
  }
  ~RequestBody() { wipe_and_free(bytes_, size_); }
  RequestBody(const RequestBody&) = delete;
  RequestBody& operator=(const RequestBody&) = delete;

  // False when there was no memory.
  explicit operator bool() const { return bytes_ != nullptr; }

  // REQUIRES: what is added fits the size.
  void add_word(std::uint32_t word) { add_bytes(&word, sizeof word); }
  void add_bytes(const void* bytes, std::size_t count) {
    std::memcpy(bytes_ + written_, bytes, count);
    written_ += count;
  }

  char* data() { return bytes_; }
  std::int32_t size() const { return static_cast<std::int32_t>(size_); }

 private:
  char* bytes_;
  std::uint32_t size_;
  std::size_t written_ = 0;
};

class EncodedBody {
 public:
  template <class Record>
  EncodedBody(std::uint32_t (*encode)(Record*, void**), Record* record)
      : length_(encode(record, &bytes_)) {}
  ~EncodedBody() { wipe_and_free(bytes_, length_); }
  EncodedBody(const EncodedBody&) = delete;
  EncodedBody& operator=(const EncodedBody&) = delete;

  const void* bytes() const { return bytes_; }
  // 0 when the record could not be encoded.
  std::uint32_t length() const { return length_; }

 private:
  void* bytes_ = nullptr;
  std::uint32_t length_;
};

}  // namespace aaa
