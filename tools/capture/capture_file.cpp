#include "capture/capture_file.h"

#include <system_error>
#include <utility>

namespace aaa_capture {

CaptureFile::CaptureFile(const std::string& path, std::string_view application, Complaint complain)
    : path_(path), complain_(std::move(complain)), writer_(std::in_place, path) {
  attempt([application](Writer& writer) { writer.begin(application); });
}

void CaptureFile::write(std::uint64_t socket, const Interface& interface, Packet packet) {
  attempt([&](Writer& writer) {
    auto found = interfaces_.find(socket);
    if (found == interfaces_.end())
      found = interfaces_.emplace(socket, writer.add(interface)).first;
    packet.interface = found->second;
    writer.write(packet);
  });
}

void CaptureFile::attempt(const std::function<void(Writer&)>& action) {
  if (!writer_) return;
  try {
    action(*writer_);
  } catch (const std::system_error& error) {
    writer_.reset();
    complain_("the capture ends: " + path_ + ": " + error.code().message());
  }
}

}  // namespace aaa_capture
