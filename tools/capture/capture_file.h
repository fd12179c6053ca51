// A capture in the making, with an interface for each socket.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "capture/writer.h"

namespace aaa_capture {

class CaptureFile {
 public:
  using Complaint = std::function<void(const std::string& line)>;

  // Throws std::runtime_error as the writer does when it cannot have the file. When it cannot be
  // written, the capture ends, and `complain` is called with the reason, once.
  CaptureFile(const std::string& path, std::string_view application, Complaint complain);

  // The interface is described with the first packet of the socket, whose number is never used for
  // another one. The packet's own is ignored.
  void write(std::uint64_t socket, const Interface& interface, Packet packet);

 private:
  void attempt(const std::function<void(Writer&)>& action);

  const std::string path_;
  const Complaint complain_;
  std::optional<Writer> writer_;  // none once the capture has ended
  std::map<std::uint64_t, std::uint32_t> interfaces_;
};

}  // namespace aaa_capture
