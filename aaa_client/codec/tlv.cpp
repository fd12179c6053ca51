#include <cstdint>
#include <cstring>

#include "aaa_codec.h"
#include "codec/item_writer.h"

std::uint32_t aaa_encap_tlv_data(void* buffer, std::uint32_t type, const void* value,
                                 std::uint32_t length) {
  if (buffer == nullptr || value == nullptr) return 0;
  auto* to = static_cast<std::uint8_t*>(buffer);
  aaa::store_item_header(to, static_cast<std::uint16_t>(type), static_cast<std::uint16_t>(length));
  std::memcpy(to + aaa::tlv_header_size, value, length);
  return length + static_cast<std::uint32_t>(aaa::tlv_header_size);
}
