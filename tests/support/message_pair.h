// The datagram pair inside the process, read by the test in place of a waiting thread.
#pragma once

#include <sys/socket.h>

#include "runtime/send/local_delivery.h"
#include "support/library_test.h"
#include "transport/base/paths.h"

namespace test {

// The next datagram for the waiting thread; empty when there is none.
inline std::string datagram() {
  std::string bytes(8192, '\0');
  const ssize_t got = recv(aaa::load(lib_msg_server_fd), bytes.data(), bytes.size(), MSG_DONTWAIT);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

inline void forget_datagrams() {
  char byte = 0;
  while (recv(aaa::load(lib_msg_server_fd), &byte, 1, MSG_DONTWAIT) >= 0)
    continue;
}

inline void make_message_pair() {
  EXPECT_EQ(0, aaa_lib_make_work_dir());
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
  forget_datagrams();
}

}  // namespace test
