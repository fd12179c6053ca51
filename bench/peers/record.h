// The contents of an authentication record for the peers: as many numbers as the library's record
// has, arrays of the same lengths, and the same items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

struct Record {
  std::vector<std::uint32_t> numbers;
  std::vector<std::string> octets;
  std::vector<std::string> texts;
  std::vector<std::string> items;
};

inline std::vector<std::string> strings_of(std::initializer_list<std::size_t> sizes) {
  std::vector<std::string> strings;
  for (const std::size_t size : sizes)
    strings.emplace_back(size, 'd');
  return strings;
}

inline Record typical_record() {
  return {std::vector<std::uint32_t>(38, 1),
          strings_of({6, 6, 6, 100, 36, 64, 64, 128, 16, 16, 16, 100, 32, 32, 32, 256}),
          strings_of({32, 64, 6}), strings_of({24, 40, 40, 24, 24, 40})};
}

// Reads every value, which a decoder without copies has not done yet.
class Reading {
 public:
  void number(std::uint64_t value) { sum_ += value; }
  void bytes(const void* first, std::size_t size) {
    if (size > 0) sum_ += static_cast<const std::uint8_t*>(first)[size - 1];
  }
  ~Reading() { asm volatile("" : : "r"(sum_)); }

 private:
  std::uint64_t sum_ = 0;
};

}  // namespace bench
