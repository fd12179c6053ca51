// The records of the measured messages, with the items that a login usually has.
#pragma once

#include <cstddef>

#include "support/frames.h"

namespace bench {

// Of the bodies of a request and of its result.
inline constexpr std::size_t usual_body = 1500;
// Of the authentication record that is encoded and decoded: its last item is 40 bytes long.
inline constexpr std::size_t codec_body = 1404;

// Six items; the last one fills up to a body of `body_length` bytes, at least 1,365.
authen_info typical_request(std::size_t body_length);
// Five items; at least 1,433 bytes.
Bytes typical_result(std::size_t body_length);

// Where a framed result message holds its session id.
inline constexpr std::size_t session_id_of_result = header_size + 4 + 572;

}  // namespace bench
