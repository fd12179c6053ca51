// Puts a message body together, from front to back.
#pragma once

#include <array>
#include <bit>
#include <string_view>

#include "message.h"

namespace aaa_sim {

class BodyWriter {
 public:
  // In host byte order.
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
  // Cuts the body, or fills it up with zeros.
  BodyWriter& resize(std::size_t size) {
    body_.resize(size);
    return *this;
  }

  Bytes take() { return std::move(body_); }

 private:
  Bytes body_;
};

}  // namespace aaa_sim
