// The body of a request, written from front to back: on the heap, zeroed, wiped when released.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "transport/memory.h"

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

}  // namespace aaa
