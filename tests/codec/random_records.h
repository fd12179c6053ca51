// Randomness that a failing test can repeat: AAA_TEST_SEED in the environment overrides the seed.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

namespace test {

class Random {
 public:
  static std::uint64_t seed() {
    const char* text = std::getenv("AAA_TEST_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 0) : 20240229;
  }

  std::size_t below(std::size_t limit) { return engine_() % limit; }

  std::string bytes(std::size_t count) {
    std::string bytes(count, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(engine_());
    return bytes;
  }

  // Mostly short, now and then empty, seldom as long as an item can be.
  std::string value() {
    const std::size_t kind = below(200);
    if (kind < 40) return "";
    return bytes(kind == 199 ? 65535 : below(kind < 190 ? 40 : 3000));
  }

  // The same without NUL bytes.
  std::string text() {
    std::string text = value();
    for (char& byte : text)
      byte = byte == '\0' ? 'x' : byte;
    return text;
  }

 private:
  std::mt19937_64 engine_{seed()};
};

}  // namespace test
