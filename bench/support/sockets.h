// Sockets and whole reads and writes on them.
#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <string>

namespace bench {

struct SocketPair {
  int client;
  int server;
};

// `type` is SOCK_STREAM or SOCK_DGRAM.
SocketPair make_pair(int type);

int listen_at(const std::string& path);

// All of it. Return false when the other side has gone.
bool send_all(int fd, const void* data, std::size_t size);
bool receive_all(int fd, void* data, std::size_t size);

// Until something can be read, as a thread waits that has something to do every five seconds.
void wait_readable(int fd);

}  // namespace bench
