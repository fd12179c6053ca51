// Results that outlive the body they were decoded from.
#pragma once

#include <cstdint>

#include "aaa_codec.h"

namespace aaa {

// aaa_parse_result_info(), but the values of the items 318 to 320, which would point into the body,
// are null. Their lengths are kept.
std::uint32_t decode_result_without_body(result_info** record, const void* body,
                                         std::int32_t length);

}  // namespace aaa
