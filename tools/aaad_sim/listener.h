// The socket that clients connect to.
#pragma once

#include <string>

#include "file_descriptor.h"

namespace aaa_sim {

class Listener {
 public:
  // Where clients look for it below their TMPDIR.
  static std::string path_below(const std::string& directory);

  // Makes the directory and replaces a file that nobody listens on. Throws std::system_error.
  explicit Listener(std::string path);
  // Removes the file.
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int fd() const { return socket_.get(); }
  // A connection that does not block, or a closed descriptor when none is waiting.
  FileDescriptor accept();

 private:
  std::string path_;
  FileDescriptor socket_;
};

}  // namespace aaa_sim
