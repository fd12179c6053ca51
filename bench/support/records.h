// The records of the measured messages, with the typical items of a login.
#pragma once

#include <cstddef>

#include "support/sockets.h"

namespace bench {

// Body size of a request and of its result.
inline constexpr std::size_t usual_body = 1500;
// Body size of the encoded and decoded authentication record: its last item has 40 bytes.
inline constexpr std::size_t codec_body = 1404;

// Six items. The last one pads the body to `body_length` bytes, at least 1,365.
authen_info typical_request(std::size_t body_length);
// Five items, the same; at least 1,433 bytes.
Bytes typical_result(std::size_t body_length);

// Offset of the session id in the frame of a result.
inline constexpr std::size_t session_id_of_result = header_size + 4 + 572;

}  // namespace bench
