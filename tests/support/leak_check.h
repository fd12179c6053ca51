// What a test must leave as it found it: blocks of the library, open descriptors, threads.
#pragma once

#include <cstddef>
#include <cstdint>

#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"

namespace test {

// Blocks that the library has allocated and not freed.
inline std::uint32_t live_blocks() {
  return aaa::load(g_aaa_malloc_times) - aaa::load(g_aaa_free_times);
}

// Descriptors of the process, without the library's datagram pair, which stays for good.
std::size_t open_descriptors();

std::size_t thread_count();

class LeakCheck {
 public:
  LeakCheck();

  // Fails the test unless everything is as it was, at the latest after a while: threads take a
  // moment to end. `expected_blocks` more blocks than before may be left where that is intended.
  void expect_nothing_left(std::uint32_t expected_blocks = 0) const;

 private:
  std::uint32_t blocks_;
  std::size_t descriptors_;
  std::size_t threads_;
};

}  // namespace test
