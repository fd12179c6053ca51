// The daemon's socket, and its answers to registrations.
#pragma once

#include <string>

namespace bench {

// Sets TMPDIR to a directory of its own and removes the directory on destruction. Accepted
// connections stay open.
class Registrar {
 public:
  Registrar();
  ~Registrar();
  Registrar(const Registrar&) = delete;
  Registrar& operator=(const Registrar&) = delete;

  // For each client, the request socket first.
  int accept_request_socket() const;
  int accept_event_socket() const;

 private:
  std::string path_;
  int listener_;
};

}  // namespace bench
