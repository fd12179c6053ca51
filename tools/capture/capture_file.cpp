#include "capture/capture_file.h"

#include <system_error>
#include <utility>

namespace aaa_capture {

CaptureFile::CaptureFile(const std::string& path, std::string_view application, Complaint complain)
    : path_(path), complain_(std::move(complain)), writer_(std::in_place, path, application) {}

void CaptureFile::write(std::uint64_t socket, const Interface& interface, Packet packet) {
  if (!writer_) return;
  try {
    auto found = interfaces_.find(socket);
    if (found == interfaces_.end())
      found = interfaces_.emplace(socket, writer_->add(interface)).first;
    packet.interface = found->second;
    writer_->write(packet);
  } catch (const std::system_error& error) {
    writer_.reset();
    complain_("the capture ends: " + path_ + ": " + error.code().message());
  }
}

}  // namespace aaa_capture
