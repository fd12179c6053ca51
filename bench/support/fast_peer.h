// The daemon's side, as fast as it can be, so that it does not hide the client: the same code for
// the library and for the programs that it is compared with.
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
  // Where given, requests are counted and not answered.
  const Tally* tally = nullptr;
};

class FastPeer {
 public:
  FastPeer(int request_socket, int event_socket, const PeerSettings& settings);

  // Until the client has gone.
  void serve();

  // What can be read now. Returns false when the client has gone.
  bool take_some();

  int request_socket() const { return request_socket_; }

 private:
  std::size_t take_messages(const std::uint8_t* bytes, std::size_t size);
  void take(const aaa_ipc_header& header, const std::uint8_t* body);
  void answer(std::uint32_t session_id);

  int request_socket_;
  int event_socket_;
  Bytes result_;
  Bytes reply_;
  const Tally* tally_;
  // What has been read; the beginning of a message stays.
  Bytes buffer_;
  std::size_t kept_ = 0;
};

// Many of them in one thread, for good.
void serve_together(std::vector<FastPeer>& peers);

}  // namespace bench
