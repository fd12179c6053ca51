// Where clients of the library find the daemon, and the answers to their registration.
#pragma once

#include <string>

namespace bench {

// Points TMPDIR at a directory of its own, which lasts as long as the object. Connections last
// longer.
class Registrar {
 public:
  Registrar();
  ~Registrar();
  Registrar(const Registrar&) = delete;
  Registrar& operator=(const Registrar&) = delete;

  // Each client connects its request socket first.
  int accept_request_socket() const;
  int accept_event_socket() const;

 private:
  std::string path_;
  int listener_;
};

}  // namespace bench
