// Bodies that begin with a group name: a length byte, the name, then an encoded record.
#pragma once

#include <cstdint>
#include <cstring>

#include "aaa_client.h"

namespace aaa {

struct GroupMessage {
  char group_name[AAA_GROUP_NAME_SIZE] = {};
  const void* record = nullptr;
  std::int32_t record_length = 0;

  // Returns false when the body is missing or shorter than its own name.
  bool split(const aaa_ipc_header* header, const void* body) {
    if (body == nullptr || header->length < 2) return false;
    const auto* const bytes = static_cast<const std::uint8_t*>(body);
    const std::uint32_t name_length = bytes[0];
    if (header->length < name_length + 1) return false;
    std::memcpy(group_name, bytes + 1, name_length);
    record = bytes + 1 + name_length;
    record_length = static_cast<std::int32_t>(header->length - 1 - name_length);
    return true;
  }
};

}  // namespace aaa
