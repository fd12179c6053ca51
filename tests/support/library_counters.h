// How the library's counters have moved since a moment, by their numbers.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <map>

#include "aaa_client.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"

namespace test {

class LibraryCounters {
 public:
  static constexpr std::size_t kWords = 27;
  static_assert(sizeof(aaalib_stat) == kWords * 4);

  static std::uint32_t& word(std::size_t n) {
    return reinterpret_cast<std::uint32_t*>(&g_aaalib_stat)[n];
  }

  // How much counter `n` of g_aaalib_stat has grown.
  std::uint32_t grown(std::size_t n) const { return aaa::load(word(n)) - before_[n]; }
  // Expects these to have grown by so much and no other, but for a time and the longest one.
  void expect_grown(const std::map<std::size_t, std::uint32_t>& by,
                    std::size_t time = kWords) const {
    for (std::size_t n = 0; n < kWords; ++n) {
      const auto expected = by.find(n);
      if (n == time || n == time + 1) continue;
      EXPECT_EQ(expected == by.end() ? 0 : expected->second, grown(n)) << "counter " << n;
    }
  }
  bool all_unchanged() const { return now() == before_; }

  std::uint32_t blocks_allocated() const { return aaa::load(g_aaa_malloc_times) - allocated_; }
  std::uint32_t blocks_failed() const { return aaa::load(g_aaa_malloc_fail_times) - failed_; }
  std::uint32_t blocks_freed() const { return aaa::load(g_aaa_free_times) - freed_; }
  std::uint32_t blocks_left() const { return blocks_allocated() - blocks_freed(); }

 private:
  using Words = std::array<std::uint32_t, kWords>;
  static Words now() {
    Words words;
    for (std::size_t n = 0; n < kWords; ++n)
      words[n] = aaa::load(word(n));
    return words;
  }

  Words before_ = now();
  std::uint32_t allocated_ = aaa::load(g_aaa_malloc_times);
  std::uint32_t failed_ = aaa::load(g_aaa_malloc_fail_times);
  std::uint32_t freed_ = aaa::load(g_aaa_free_times);
};

}  // namespace test
