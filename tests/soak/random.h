// A small generator whose run can be repeated from its seed.
#pragma once

#include <cstdint>
#include <random>

namespace soak {

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  // 0 to limit - 1.
  std::uint32_t below(std::uint32_t limit) {
    return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(engine_);
  }

 private:
  std::minstd_rand engine_;
};

}  // namespace soak
