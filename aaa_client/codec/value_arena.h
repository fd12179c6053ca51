// Gathers the values of a decoded record into one block, each followed by a NUL.
#pragma once

#include <cstdint>
#include <cstring>

#include "codec/allocation.h"
#include "codec/item_reader.h"

namespace aaa {

class ValueArena {
 public:
  // `size` counts a NUL for every descriptor, also for the empty ones.
  ValueArena(const Body& body, std::uint64_t size, const char* function)
      : body_(body), size_(size), base_(allocate(size, function)), end_(base_) {}

  bool allocated() const { return base_ != nullptr; }

  // Moves a value from the body into the arena.
  void take(aaa_item& item) {
    if (item.len == 0) {
      item.value = nullptr;
      return;
    }
    body_.copy(end_, item.value, item.len);
    item.value = end_;
    end_ += item.len;
    *end_++ = 0;
  }

  // Clears what is left and hands the block over. Returns the bytes that are used.
  std::uint32_t finish(aaa_arena& arena) {
    const auto used = static_cast<std::uint32_t>(end_ - base_);
    std::memset(end_, 0, static_cast<std::size_t>(size_ - used));
    arena.base = base_;
    arena.size = static_cast<std::uint32_t>(size_);
    return used;
  }

 private:
  Body body_;
  std::uint64_t size_;
  std::uint8_t* base_;
  std::uint8_t* end_;
};

}  // namespace aaa
