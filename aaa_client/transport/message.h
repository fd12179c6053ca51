// A message in memory, and the one reader of messages: of exchanges, of the registration, of the
// receive thread and of the client's event loop.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aaa_client.h"
#include "transport/framing.h"

namespace aaa {

// A message as one block: the header, then header->length bytes of body. Whoever gets one owns it
// and releases it with free_message().
inline void* message_body(aaa_ipc_header* message) {
  return message + 1;
}
void free_message(aaa_ipc_header* message);

// What a reader allocates for a message.
enum class MessageBlock {
  header_and_body,
  body,         // none for a body of length 0
  body_and_nul  // the same with a NUL behind the body, which its length does not count
};

// A message being read. Its owner releases it, or keeps the block.
struct Message {
  aaa_ipc_header header = {};
  void* block = nullptr;
  void* body = nullptr;    // in the block; null when it has none
  std::size_t filled = 0;  // bytes of the body that have been read, and that are wiped

  // Wipes what was written and frees the block. The rest of the block was never touched: wiping it
  // would make memory of any claimed size resident.
  void release();
};

enum class ReadStep { done, header, marker, memory, body };

// Where the reading ended, and the errno value with which it failed there.
struct ReadOutcome {
  ReadStep step;
  std::int32_t error;
};

struct MessageReader {
  MessageBlock block;
  bool checks_marker;
  ReceiveExactly receive;
};

// Reads one message; on failure it holds no block. A cancellation point where the thread allows
// cancellation: the caller then sees to it that `message` is released.
ReadOutcome read_message(std::int32_t fd, const MessageReader& reader, Message& message);

// One message as one block. Null, and a debug line, when it could not be read whole or no memory
// was left.
aaa_ipc_header* aaalib_recv_ipc_msg_from_sd(std::int32_t fd,
                                            ReceiveExactly receive = receive_exactly);

}  // namespace aaa
