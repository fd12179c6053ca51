// The datagram pair inside the process, read by the test in place of a waiting thread.
#pragma once

#include <sys/socket.h>

#include "bytes.h"
#include "support/library_test.h"
#include "transport/base/atomic_word.h"
#include "transport/base/paths.h"
#include "transport/message_endpoints.h"

namespace test {

// The next datagram for the waiting thread; empty when there is none.
inline Bytes datagram() {
  Bytes bytes(8192);
  const ssize_t got = recv(aaa::load(lib_msg_server_fd), bytes.data(), bytes.size(), MSG_DONTWAIT);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

inline void forget_datagrams() {
  while (!datagram().empty()) {
  }
}

// Replaces the number of the client socket while it lives.
class ClientSocket {
 public:
  explicit ClientSocket(int fd) : before_(aaa::load(lib_msg_client_fd)) {
    aaa::store(lib_msg_client_fd, fd);
  }
  ~ClientSocket() { aaa::store(lib_msg_client_fd, before_); }
  ClientSocket(const ClientSocket&) = delete;
  ClientSocket& operator=(const ClientSocket&) = delete;

 private:
  int before_;
};

class MessagePairTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_EQ(0, aaa_lib_make_work_dir());
    ASSERT_EQ(0, aaa_lib_msg_socket_init());
    forget_datagrams();
  }
  void TearDown() override {
    forget_datagrams();
    LibraryTest::TearDown();
  }
};

}  // namespace test
