// Takes a message body apart, from front to back.
#pragma once

#include <stdexcept>
#include <string>

#include "message.h"

namespace aaa_sim {

// A body that ends too early or says something impossible.
struct BadBody : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Each call takes what it returns; each throws BadBody when the body ends before that.
class BodyReader {
 public:
  explicit BodyReader(View body) : rest_(body) {}

  std::size_t left() const { return rest_.size(); }
  std::uint32_t word();  // 32 bits in host byte order
  std::uint16_t short_word();
  View bytes(std::size_t size);
  std::string text(std::size_t size);
  // All that is left, up to the first NUL.
  std::string last_text();

 private:
  View rest_;
};

}  // namespace aaa_sim
