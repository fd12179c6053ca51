#include "codec/tlv.h"

namespace aaa {

void* copy_of(ItemValue value, std::uint64_t size) {
  assert(value.length <= size);
  std::uint8_t* copy = allocate(size);
  if (copy == nullptr) return nullptr;
  value.copy(copy);
  std::memset(copy + value.length, 0, static_cast<std::size_t>(size - value.length));
  return copy;
}

}  // namespace aaa

// Type and length are truncated to 16 bits in the header; the value is not truncated.
std::uint32_t aaa_encap_tlv_data(void* buffer, std::uint32_t type, const void* value,
                                 std::uint32_t length) {
  if (buffer == nullptr || value == nullptr) return 0;
  aaa::ItemWriter item(static_cast<std::uint8_t*>(buffer));
  std::memcpy(item.open(static_cast<std::uint16_t>(type), static_cast<std::uint16_t>(length)),
              value, length);
  return static_cast<std::uint32_t>(aaa::tlv_header_size) + length;
}
