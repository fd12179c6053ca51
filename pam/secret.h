// Memory that is overwritten before it is released.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace aaa_pam {

class Secret {
 public:
  Secret() = default;
  ~Secret() { reset(); }
  Secret(Secret&& other) noexcept
      : text_(std::exchange(other.text_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  Secret& operator=(Secret&& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(size_, other.size_);
    return *this;
  }

  // A copy with a NUL behind it. Returns false when there is no memory.
  bool assign(const void* bytes, std::size_t size) {
    char* const copy = static_cast<char*>(std::malloc(size + 1));
    if (copy == nullptr) return false;
    if (size != 0) std::memcpy(copy, bytes, size);
    copy[size] = '\0';
    take(copy, size);
    return true;
  }

  // Takes over a text that was allocated with malloc(); null empties it.
  void adopt(char* text) { take(text, text == nullptr ? 0 : std::strlen(text)); }

  void reset() { take(nullptr, 0); }

  const char* text() const { return text_ == nullptr ? "" : text_; }
  std::size_t size() const { return size_; }

 private:
  void take(char* text, std::size_t size) {
    char* const old_text = std::exchange(text_, text);
    const std::size_t old_size = std::exchange(size_, size);
    if (old_text != nullptr) ::explicit_bzero(old_text, old_size);
    std::free(old_text);
  }

  char* text_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace aaa_pam
