// Connects to the daemon from a process of its own. The daemon sees the process that connects, and
// knows by it which two connections are one client's: with one process for each client it can go on
// doing so.
#pragma once

#include <sys/types.h>

#include <string>

#include "server/file_descriptor.h"

namespace aaa_dissect {

class Connector {
 public:
  // Starts the process. Throws std::system_error.
  explicit Connector(const std::string& path);
  // Ends it. Its connections stay.
  ~Connector();
  Connector(const Connector&) = delete;
  Connector& operator=(const Connector&) = delete;

  // As aaa_sim::Listener::connect(). ECONNABORTED: its process has gone.
  aaa_sim::FileDescriptor connect();

 private:
  aaa_sim::FileDescriptor control_;
  pid_t process_;
};

}  // namespace aaa_dissect
