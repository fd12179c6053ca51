// Messages of 16 bytes of header and a body, as on the sockets of the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "aaa_client.h"

namespace bench {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t marker = 0x01010101;
inline constexpr std::size_t header_size = sizeof(aaa_ipc_header);

Bytes frame(std::uint32_t type, std::uint32_t id, const void* body, std::size_t length);
// With a body of zeros.
Bytes blank_frame(std::uint32_t type, std::size_t length);

}  // namespace bench
