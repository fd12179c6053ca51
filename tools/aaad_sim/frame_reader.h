// Cuts a stream of bytes into messages.
#pragma once

#include "message.h"

namespace aaa_sim {

class FrameReader {
 public:
  enum class Status { need_more, frame, bad_marker, bad_length };

  // No message of a client comes near this size; a longer one is a broken header.
  static constexpr std::uint32_t kMaxBody = 16u << 20;

  void append(View bytes);
  // Takes the next message out, when it is complete. After bad_marker and bad_length the stream
  // is out of step for good.
  Status next(Frame& frame);
  // Bytes that have come but belong to no complete message.
  std::size_t pending() const { return bytes_.size() - used_; }

 private:
  Bytes bytes_;
  std::size_t used_ = 0;  // bytes at the front that have been taken out
};

}  // namespace aaa_sim
