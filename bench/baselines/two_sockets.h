// Requests on one socket and answers on a second one, with the system calls only.
#pragma once

#include <semaphore.h>

#include <cstddef>
#include <cstdint>
#include <functional>

#include "support/fast_peer.h"

namespace bench {

struct TwoSockets {
  int request;
  int event;
};

// Of a client with a FastPeer of its own.
TwoSockets start_peer(const PeerSettings& settings);

using TakeBody = std::function<void(const std::uint8_t* body, std::size_t length)>;

// Starts a thread that receives until the peer has closed. With 2 reads it polls, reads a header,
// and reads the body into a block of its own; with 1 it polls and reads all that has arrived.
void start_receiver(int fd, std::size_t reads, const TakeBody& take);

// One request at a time; the receiver wakes the requesting thread.
class RawCallbackRequests {
 public:
  RawCallbackRequests(const TwoSockets& sockets, std::size_t body_length, std::size_t reads);
  RawCallbackRequests(const RawCallbackRequests&) = delete;
  RawCallbackRequests& operator=(const RawCallbackRequests&) = delete;

  void send_and_wait();

 private:
  Bytes request_;
  int request_socket_;
  sem_t answered_;
};

}  // namespace bench
