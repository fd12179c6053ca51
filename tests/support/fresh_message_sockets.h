// The pair of datagram sockets as it is before the first registration. What a test makes of it is
// closed afterwards, and the pair that was there before, if any, is in place again.
#pragma once

#include <unistd.h>

#include "aaa_client.h"
#include "runtime/send/local_delivery.h"
#include "transport/base/atomic_word.h"

namespace test {

class FreshMessageSockets {
 public:
  FreshMessageSockets() { put(0, -1, -1); }
  ~FreshMessageSockets() {
    if (made()) {
      ::close(lib_msg_server_fd);
      ::close(lib_msg_client_fd);
    }
    put(ok_, server_, client_);
  }
  FreshMessageSockets(const FreshMessageSockets&) = delete;
  FreshMessageSockets& operator=(const FreshMessageSockets&) = delete;

  static bool made() { return aaa::load(aaa::g_msg_socket_ok) == 1; }

 private:
  static void put(std::uint8_t ok, std::int32_t server, std::int32_t client) {
    aaa::store(aaa::g_msg_socket_ok, ok);
    aaa::store(lib_msg_server_fd, server);
    aaa::store(lib_msg_client_fd, client);
  }

  std::uint8_t ok_ = aaa::load(aaa::g_msg_socket_ok);
  std::int32_t server_ = aaa::load(lib_msg_server_fd);
  std::int32_t client_ = aaa::load(lib_msg_client_fd);
};

}  // namespace test
