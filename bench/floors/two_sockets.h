// The two sockets of a floor, with the peer behind them.
#pragma once

#include "support/fast_peer.h"
#include "support/server_process.h"
#include "support/sockets.h"

namespace bench {

struct TwoSockets {
  int request;
  int event;
};

inline TwoSockets start_peer(const PeerSettings& settings) {
  const SocketPair requests = make_pair(SOCK_STREAM);
  const SocketPair events = make_pair(SOCK_STREAM);
  start_server([&] { FastPeer(requests.server, events.server, settings).serve(); });
  return {requests.client, events.client};
}

}  // namespace bench
