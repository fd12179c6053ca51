#include "support/frames.h"

#include <cstring>

namespace bench {

Bytes frame(std::uint32_t type, std::uint32_t id, const void* body, std::size_t length) {
  const aaa_ipc_header header = {marker, id, type, static_cast<std::uint32_t>(length)};
  Bytes message(header_size + length);
  std::memcpy(message.data(), &header, header_size);
  if (length > 0) std::memcpy(message.data() + header_size, body, length);
  return message;
}

Bytes blank_frame(std::uint32_t type, std::size_t length) {
  const Bytes body(length);
  return frame(type, 1, body.data(), length);
}

}  // namespace bench
