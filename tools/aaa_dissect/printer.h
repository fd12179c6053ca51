// Prints messages, as text or as JSON lines.
#pragma once

#include <cstddef>

#include "capture/packet.h"
#include "output.h"

namespace aaa_dissect {

struct Style {
  bool is_json = false;
  bool secrets = false;  // else only their lengths are printed
};

class Printer {
 public:
  explicit Printer(Style style) : style_(style) {}

  // Once printed, the message is on standard output. False when that takes no more.
  bool print(const aaa_capture::Interface& interface, const aaa_capture::Packet& packet);
  // Why it took no more, as Output::write(), and how many messages it did not take as a whole.
  int error() const { return error_; }
  std::size_t missed() const { return missed_; }
  // As Output::end_with().
  void end_with(int end) { output_.end_with(end); }

 private:
  bool miss();

  const Style style_;
  Output output_;
  std::size_t missed_ = 0;
  int error_ = 0;
};

}  // namespace aaa_dissect
