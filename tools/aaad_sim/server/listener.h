// The socket that clients connect to.
#pragma once

#include <sys/types.h>

#include <string>

#include "server/file_descriptor.h"

namespace aaa_sim {

class Listener {
 public:
  // The path that clients with this TMPDIR connect to.
  static std::string path_below(const std::string& directory);

  // Creates the directory, and replaces the socket file unless a process listens on it. Throws
  // std::system_error.
  explicit Listener(std::string path);
  // Removes the socket file.
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int fd() const { return socket_.get(); }
  // A non-blocking connection; not open when none is pending.
  FileDescriptor accept();

  // A non-blocking connection to the process that listens on the path; not open, with errno, when
  // there is none. EAGAIN: it has not accepted earlier ones.
  static FileDescriptor connect(const std::string& path);

 private:
  std::string path_;
  FileDescriptor socket_;
};

// The process at the other end of a connection.
pid_t peer_pid(int fd);

}  // namespace aaa_sim
