// The least that a client can register with: a peer that answers every authentication request with
// the same result, as fast as it can. For benchmarks, where a real daemon would hide the library.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "aaa_client.h"

namespace bench {

class EchoDaemon {
 public:
  // `directory` is what TMPDIR is for the client.
  explicit EchoDaemon(const std::string& directory);
  ~EchoDaemon();
  EchoDaemon(const EchoDaemon&) = delete;
  EchoDaemon& operator=(const EchoDaemon&) = delete;

 private:
  void serve();
  int accept_and_register(std::uint32_t type, const void* body, std::uint32_t length) const;
  bool answer_next();
  bool send_result(std::uint32_t session_id);

  std::string path_;
  int listener_;
  int request_socket_ = -1;
  int event_socket_ = -1;
  std::vector<std::uint8_t> result_;
  std::thread thread_;
};

}  // namespace bench
