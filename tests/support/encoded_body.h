// The body that an encoder makes of a record.
#pragma once

#include "support/bytes.h"

namespace test {

// Empty when it makes none. Encoders write the types of items into the record.
template <class Record>
std::string encoded_body(std::uint32_t (*encode)(Record*, void**), Record& record) {
  void* body = nullptr;
  const std::uint32_t length = encode(&record, &body);
  return take_block(body, length);
}
template <class Record>
std::string encoded_body(std::uint32_t (*encode)(Record*, void**), Record&& record) {
  return encoded_body(encode, record);
}

}  // namespace test
