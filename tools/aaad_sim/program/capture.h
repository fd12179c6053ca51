// --capture.
#pragma once

#include <functional>
#include <latch>
#include <optional>
#include <string>

#include "capture/capture_file.h"
#include "server/journal.h"

namespace aaa_sim {

class Capture {
 public:
  explicit Capture(bool with_secrets) : with_secrets_(with_secrets) {}

  // Makes the file after `listen`, whose exception leaves a file as it is. What is written
  // meanwhile waits for the file. Throws std::runtime_error when it cannot have the file.
  void open_after(const std::function<void()>& listen, const std::string& path);
  void write(const Message& message, const std::string& remark);

 private:
  const bool with_secrets_;
  std::latch tried_{1};
  std::optional<aaa_capture::CaptureFile> file_;  // set before `tried_` is, if at all
};

}  // namespace aaa_sim
