// One direction of a tapped connection: what one end writes is shown, and then written to the
// other.
#pragma once

#include <functional>

#include "capture/message_packet.h"
#include "wire/message.h"

namespace aaa_dissect {

class Flow {
 public:
  // Takes all that was read, in order: messages, and what is none, with a remark.
  using Show = std::function<void(aaa_sim::View bytes, aaa_capture::Form form, const char* remark)>;

  Flow(int from, int to, Show show) : from_(from), to_(to), show_(std::move(show)) {}

  // An end that does not read keeps the other one from writing, at last.
  bool wants_input() const { return is_open_ && output_.size() < kMaxOutput; }
  bool has_output() const { return !output_.empty(); }
  std::size_t output_size() const { return output_.size(); }
  bool is_done() const { return !is_open_ && output_.empty(); }

  // Each makes one system call. A message is shown before the last of it is written.
  void read();
  void write();
  // Reads no more. A message of which only a part was read is shown as far as that.
  void end_input();
  // For an end that takes no more: what the other one has written until now is shown, and lost.
  void give_up();
  std::size_t lost() const { return lost_; }

 private:
  static constexpr std::size_t kMaxOutput = std::size_t{256} * 1024;

  void split(aaa_sim::View bytes);
  void show_broken(const char* remark);

  const int from_, to_;
  const Show show_;
  aaa_sim::FrameReader input_;
  aaa_sim::Bytes output_;
  std::size_t lost_ = 0;
  bool is_open_ = true;     // there may be more to read
  bool is_broken_ = false;  // the last bytes were no message
};

}  // namespace aaa_dissect
