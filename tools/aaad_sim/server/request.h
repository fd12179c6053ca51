// The interface between the server and what answers its requests.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "wire/message.h"

namespace aaa_sim {

// A message of a registering or registered client.
struct Request {
  const ClientName& client;
  Role role;  // of the connection it came on
  const aaa_ipc_header& header;
  View body;
};

// One message of the answer.
struct Reply {
  Role role;  // of the client's connection to send it on
  std::uint32_t type;
  std::uint32_t id;
  Bytes body;
};

using Replies = std::vector<Reply>;

// Sends the answer, with faults and delay as set. It may be copied and called after the handler has
// returned, on the event loop's thread, while the server exists. Does nothing when the connection
// that asked is closed by then.
using Respond = std::function<void(Replies)>;

// Runs on the event loop's thread and must not block. Calls `respond` once for each request, with
// no replies if the request has no answer. `request` is valid during the call only. A
// std::runtime_error thrown before `respond` was called becomes a note and an answer without
// replies.
using RequestHandler = std::function<void(const Request& request, const Respond& respond)>;

}  // namespace aaa_sim
