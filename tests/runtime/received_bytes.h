// What the library has written to a test's end of a socket.
#pragma once

#include "bytes.h"
#include "support/socket_pair.h"

namespace test {

// Everything that has been written and not read yet.
inline Bytes received_bytes(const SocketPair& pair) {
  const std::string bytes = pair.peer_reads(pair.waiting_for_peer());
  return Bytes(bytes.begin(), bytes.end());
}

}  // namespace test
