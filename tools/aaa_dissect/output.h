// Standard output, which its reader may keep waiting.
#pragma once

#include <string_view>

#include "server/file_descriptor.h"

namespace aaa_dissect {

class Output {
 public:
  Output();

  // Once `end` is readable, a reader that takes nothing is waited for no longer than seconds.
  void end_with(int end) { end_ = end; }

  // An errno value, or 0: ETIMEDOUT when nobody read until the end.
  int write(std::string_view text);

 private:
  bool wait() const;

  aaa_sim::FileDescriptor terminal_;
  int fd_;
  int end_ = -1;
};

}  // namespace aaa_dissect
