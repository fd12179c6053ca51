// Reading one message from the event socket.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aaa_client.h"
#include "session/link_number.h"

namespace aaa {

// A message being read. The body is one block of header.length + 1 bytes, the last one NUL, and
// null when the length is 0.
struct InboundMessage {
  aaa_ipc_header header = {};
  void* body = nullptr;
  std::size_t filled = 0;  // bytes of the body that have been read, and that are wiped
  LinkNumber link = 0;     // the link that the message was read on

  void release();
};

enum class ReadStep { done, header, marker, memory, body };

// Where the reading ended, and the errno value with which it failed there.
struct ReadOutcome {
  ReadStep step;
  std::int32_t error;
};

// The receive thread checks a header's marker and reads ahead. The client's event loop, which
// learns from the socket that there is something to read, does neither.
enum class Reader { receive_thread, event_loop };

// Reads one message; on failure it holds no body. A cancellation point: the caller sees to it that
// `message` is released when the thread is cancelled inside. REQUIRES: event_read_lock held.
ReadOutcome read_message(std::int32_t fd, Reader reader, InboundMessage& message);

}  // namespace aaa
