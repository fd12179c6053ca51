// Bodies that begin with a group name: a length byte, the name, then an encoded record.
#pragma once

#include <cstdint>
#include <cstring>

#include "runtime/inbound.h"

namespace aaa {

struct GroupMessage {
  char group_name[AAA_GROUP_NAME_SIZE] = {};
  const void* record = nullptr;
  std::int32_t record_length = 0;

  // Returns false when the body is missing or shorter than its own name.
  bool split(const Inbound& message) {
    if (!message.reaches(2)) return false;
    const auto* const bytes = static_cast<const std::uint8_t*>(message.body);
    const std::uint32_t name_length = bytes[0];
    if (!message.reaches(name_length + 1)) return false;
    std::memcpy(group_name, bytes + 1, name_length);
    record = bytes + 1 + name_length;
    record_length = static_cast<std::int32_t>(message.header->length - 1 - name_length);
    return true;
  }
};

}  // namespace aaa
