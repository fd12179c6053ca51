// The values of a decoded result that stay in the body.
#pragma once

#include "aaa_codec.h"

namespace aaa {

// For a result whose body is about to be released. The lengths stay.
inline void forget_borrowed_values(result_info& result) {
  result.item_318.value = nullptr;
  result.item_319.value = nullptr;
  result.item_320.value = nullptr;
}

}  // namespace aaa
