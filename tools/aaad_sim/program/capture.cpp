#include "program/capture.h"

#include <cstdio>
#include <utility>

#include "capture/message_packet.h"

namespace aaa_sim {
namespace {

void complain(const std::string& line) {
  std::fprintf(stderr, "aaad-sim: %s\n", line.c_str());
}

// At the end of a block, also by an exception.
class CountDown {
 public:
  explicit CountDown(std::latch& latch) : latch_(latch) {}
  ~CountDown() { latch_.count_down(); }
  CountDown(const CountDown&) = delete;
  CountDown& operator=(const CountDown&) = delete;

 private:
  std::latch& latch_;
};

aaa_capture::Packet packet_of(const Message& message, const std::string& remark) {
  const bool inbound = message.direction == Direction::received;
  return {.time = aaa_capture::time_now(),
          .direction = inbound ? aaa_capture::Direction::inbound : aaa_capture::Direction::outbound,
          .bytes = message.bytes,
          .comment = remark};
}

}  // namespace

void Capture::open_after(const std::function<void()>& listen, const std::string& path) {
  listen();
  const CountDown when_tried(tried_);
  file_.emplace(path, "aaad-sim " AAAD_SIM_VERSION, complain);
}

void Capture::write(const Message& message, const std::string& remark) {
  tried_.wait();
  if (!file_) return;
  const aaa_capture::Interface interface = aaa_capture::interface_of(message.client, message.role);
  aaa_capture::Packet packet = packet_of(message, remark);
  if (!with_secrets_) aaa_capture::mask_secrets(interface, packet);
  file_->write(message.connection, interface, std::move(packet));
}

}  // namespace aaa_sim
