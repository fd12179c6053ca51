// Reading and writing message bodies, front to back. Words are in host byte order.
#pragma once

#include <array>
#include <bit>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wire/message.h"

namespace aaa_sim {

// A truncated or malformed body.
struct BadBody : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Each call consumes what it returns and throws BadBody when the body is too short for it.
class BodyReader {
 public:
  explicit BodyReader(View body) : rest_(body) {}

  std::size_t left() const { return rest_.size(); }
  std::uint32_t word();
  std::uint32_t network_word();  // most significant byte first
  std::uint16_t short_word();
  template <std::size_t count>
  std::array<std::uint32_t, count> words() {
    std::array<std::uint32_t, count> values;
    for (std::uint32_t& value : values)
      value = word();
    return values;
  }
  View bytes(std::size_t size);
  std::string text(std::size_t size);
  // The rest of the body up to the first NUL.
  std::string last_text();

 private:
  View rest_;
};

class BodyWriter {
 public:
  BodyWriter& word(std::uint32_t value) {
    return bytes(std::bit_cast<std::array<std::uint8_t, sizeof value>>(value));
  }
  BodyWriter& byte(std::uint8_t value) { return bytes({&value, 1}); }
  BodyWriter& bytes(View value) {
    body_.insert(body_.end(), value.begin(), value.end());
    return *this;
  }
  // Without a NUL.
  BodyWriter& text(std::string_view value) {
    body_.insert(body_.end(), value.begin(), value.end());
    return *this;
  }
  // Truncates, or pads with zeros.
  BodyWriter& resize(std::size_t size) {
    body_.resize(size);
    return *this;
  }

  Bytes take() { return std::move(body_); }

 private:
  Bytes body_;
};

}  // namespace aaa_sim
