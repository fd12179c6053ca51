// Captures, as aaa-dissect and the masking of secrets take them; and their messages as what a tap
// reads from a connection.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "aaa_dissect/flow.h"
#include "capture/message_packet.h"
#include "capture/reader.h"
#include "messages/render.h"
#include "traffic/touch.h"

namespace fuzz {
namespace {

using aaa_capture::Form;
using aaa_capture::Packet;
using traffic::require;

// Masking leaves the length, and changes bytes to '*' only.
void mask(const aaa_capture::Interface& interface, Packet packet, Form form) {
  const std::vector<std::uint8_t> before = packet.bytes;
  aaa_capture::mask_secrets(interface, packet, form);
  require(packet.bytes.size() == before.size());
  for (std::size_t i = 0; i < before.size(); ++i)
    require(packet.bytes[i] == before[i] || packet.bytes[i] == '*');
}

void render(const aaa_capture::Interface& interface, const Packet& packet) {
  const auto message = aaa_messages::decode(aaa_capture::frame_of(interface, packet));
  require(!aaa_messages::to_text(message, {.secrets = true}).empty());
}

// All that is read is shown, once and in order.
class Tapped {
 public:
  Tapped() { require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends_) == 0); }
  ~Tapped() {
    for (const int end : ends_)
      ::close(end);
  }
  Tapped(const Tapped&) = delete;
  Tapped& operator=(const Tapped&) = delete;

  // In two pieces, as they may be read.
  void read(aaa_sim::View whole) {
    const aaa_sim::View bytes = whole.first(std::min<std::size_t>(whole.size(), 65536));
    const aaa_capture::Interface interface { .name = "request" };
    aaa_sim::Bytes shown;
    const auto show = [&](aaa_sim::View part, Form form, const char*) {
      shown.insert(shown.end(), part.begin(), part.end());
      const Packet packet{.direction = aaa_capture::Direction::inbound,
                          .bytes = {part.begin(), part.end()}};
      mask(interface, packet, form);
    };
    aaa_dissect::Flow flow(ends_[1], ends_[1], show);
    const std::size_t half = bytes.size() / 2;
    for (const aaa_sim::View piece : {bytes.first(half), bytes.subspan(half)}) {
      if (piece.empty()) continue;
      require(::send(ends_[0], piece.data(), piece.size(), 0) ==
              static_cast<ssize_t>(piece.size()));
      flow.read();
    }
    flow.end_input();
    require(std::ranges::equal(shown, bytes));
  }

 private:
  int ends_[2];
};

void take(const aaa_capture::Interface& interface, const Packet& packet) {
  static Tapped tapped;
  for (const Form form : {Form::message, Form::stray})
    mask(interface, packet, form);
  render(interface, packet);
  tapped.read(packet.bytes);
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream input(std::string(data, data + size));
  aaa_capture::Reader reader(input);
  try {
    for (aaa_capture::Packet packet; reader.next(packet);)
      fuzz::take(reader.interface(), packet);
  } catch (const aaa_capture::CaptureError&) {
    return 0;  // as anything may be
  }
  return 0;
}
