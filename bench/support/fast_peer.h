// A daemon that answers from memory, so that its cost does not hide the client's. The library and
// the baselines are measured with the same one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/records.h"
#include "support/tally.h"

namespace bench {

struct PeerSettings {
  std::size_t result_length = usual_body;
  std::size_t reply_length = 8;
  // If set, requests are counted and not answered.
  const Tally* tally = nullptr;
};

class FastPeer {
 public:
  FastPeer(int request_socket, int event_socket, const PeerSettings& settings);

  // Until the client has closed.
  void serve();

  // Reads once. False when the client has closed.
  bool serve_once();

  int request_socket() const { return request_socket_; }

 private:
  void handle(const aaa_ipc_header& header, const std::uint8_t* body);
  void answer(std::uint32_t session_id);

  int request_socket_;
  int event_socket_;
  Bytes result_;
  Bytes reply_;
  const Tally* tally_;
  ReadAhead input_;
};

// Serves many clients on this thread. Does not return.
void serve_together(std::vector<FastPeer>& peers);

}  // namespace bench
