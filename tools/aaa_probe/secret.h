// A password, overwritten before its memory is released.
#pragma once

#include <cstring>
#include <string>
#include <string_view>

namespace aaa_probe {

class Secret {
 public:
  static constexpr std::size_t kMaxSize = 4096;

  // All memory at once: growing would leave a copy behind.
  Secret() { bytes_.reserve(kMaxSize); }
  ~Secret() { wipe(); }
  Secret(Secret&& other) noexcept : bytes_(std::move(other.bytes_)) {}
  Secret& operator=(Secret&& other) noexcept {
    bytes_.swap(other.bytes_);
    return *this;
  }

  // False when it is full.
  bool append(char character) {
    if (bytes_.size() == kMaxSize) return false;
    bytes_ += character;
    return true;
  }
  void wipe() {
    ::explicit_bzero(bytes_.data(), bytes_.capacity());
    bytes_.clear();
  }

  std::string_view view() const { return bytes_; }
  const char* c_str() const { return bytes_.c_str(); }

 private:
  std::string bytes_;
};

}  // namespace aaa_probe
