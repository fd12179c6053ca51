// Sizes that several files agree on.
#pragma once

#include <cstddef>

#include "aaa_client.h"

namespace aaa_pam {

inline constexpr std::size_t kMaxDirectory = 69;  // see aaa_set_directory()
inline constexpr std::size_t kMaxModel = AAA_MODEL_NAME_SIZE - 1;
inline constexpr std::size_t kMaxName = sizeof authen_info::chars65_a - 1;

// What a RADIUS attribute holds.
inline constexpr std::size_t kMaxClass = 253;

}  // namespace aaa_pam
