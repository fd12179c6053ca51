// An encoded record on its way to aaad. It may hold a password, so it is wiped when released.
#pragma once

#include <cstdint>

#include "transport/memory.h"

namespace aaa {

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
