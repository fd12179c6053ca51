// A mark on the number of a descriptor that a field holds. It counts for that field until the field
// has been seen with another value.
#pragma once

#include <cstdint>

#include "transport/base/atomic_word.h"

namespace aaa {

class NumberMark {
 public:
  // Marks the number that `field` holds.
  void set(const std::int32_t& field) { store(number_, load(field)); }
  void clear() { store(number_, none); }

  bool is_on(const std::int32_t& field) {
    const std::int32_t number = load(number_);
    if (number == none) return false;
    if (number == load(field)) return true;
    clear();
    return false;
  }

 private:
  static constexpr std::int32_t none = -1;
  std::int32_t number_ = none;
};

}  // namespace aaa
