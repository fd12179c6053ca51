// Prints messages, as text or as JSON lines.
#pragma once

#include "capture/packet.h"

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
  // Why it took no more: an errno value, or 0.
  int error() const { return error_; }

 private:
  const Style style_;
  int error_ = 0;
};

}  // namespace aaa_dissect
