// Memory in which one block cannot be had.
#pragma once

#include "support/scripted_calls.h"

namespace test {

// Of the blocks that the library asks for, the `number`-th fails (1 is the first).
class FailingBlock {
 public:
  explicit FailingBlock(int number) : left_(std::make_shared<std::atomic<int>>(number)) {}

  Scripts scripts() const {
    return {.malloc = [left = left_](std::size_t) -> std::optional<void*> {
      if (--*left != 0) return std::nullopt;
      errno = ENOMEM;
      return nullptr;
    }};
  }

  // Whether that block has been asked for.
  bool happened() const { return *left_ <= 0; }

 private:
  std::shared_ptr<std::atomic<int>> left_;
};

}  // namespace test
