#include "program/capture.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "capture/capture_file.h"
#include "capture/message_packet.h"

namespace aaa_sim {
namespace {

void complain(const std::string& line) {
  std::fprintf(stderr, "aaad-sim: %s\n", line.c_str());
}

aaa_capture::Packet packet_of(const Message& message, const std::string& remark) {
  const bool inbound = message.direction == Direction::received;
  return {.time = aaa_capture::time_now(),
          .direction = inbound ? aaa_capture::Direction::inbound : aaa_capture::Direction::outbound,
          .bytes = message.bytes,
          .comment = remark};
}

}  // namespace

decltype(Output::capture) capture_to(const std::string& path, bool with_secrets) {
  const auto file =
      std::make_shared<aaa_capture::CaptureFile>(path, "aaad-sim " AAAD_SIM_VERSION, complain);
  return [file, with_secrets](const Message& message, const std::string& remark) {
    const aaa_capture::Interface interface =
        aaa_capture::interface_of(message.client, message.role);
    aaa_capture::Packet packet = packet_of(message, remark);
    if (!with_secrets) aaa_capture::mask_secrets(interface, packet);
    file->write(message.connection, interface, std::move(packet));
  };
}

}  // namespace aaa_sim
