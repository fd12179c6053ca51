// A message in memory, and the reader of messages for exchanges, registration, the receive thread
// and agent mode.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aaa_client.h"
#include "transport/framing.h"

namespace aaa {

// A message as one block: the header, then header->length bytes of body. The caller owns it and
// releases it with free_message().
inline void* message_body(aaa_ipc_header* message) {
  return message + 1;
}
void free_message(aaa_ipc_header* message);

// What a reader allocates for a message.
enum class MessageBlock {
  header_and_body,
  body,         // none for a body of length 0
  body_and_nul  // the same with a NUL after the body, not counted in its length
};

// A message being read. Its owner releases it, or keeps the block.
struct Message {
  aaa_ipc_header header = {};
  void* block = nullptr;
  void* body = nullptr;    // in the block; null when it has none
  std::size_t filled = 0;  // bytes of the body that have been read, and that are wiped

  // Wipes the bytes that were received and frees the block. The rest was never written; wiping it
  // would make a block of any claimed size resident.
  void release();
};

enum class ReadStep { done, header, marker, memory, body };

// The step at which reading ended, and its error.
struct ReadOutcome {
  ReadStep step;
  std::int32_t error;
};

struct MessageReader {
  MessageBlock block;
  bool checks_marker;
  ReceiveExactly receive;
};

// Reads one message; on failure it owns no block. A cancellation point if the thread has enabled
// cancellation: the caller's cleanup handler then releases the message.
ReadOutcome read_message(std::int32_t fd, const MessageReader& reader, Message& message);

// Reads one message as one block. Null, after a debug line, when it could not be read completely or
// there was no memory.
aaa_ipc_header* aaalib_recv_ipc_msg_from_sd(std::int32_t fd,
                                            ReceiveExactly receive = receive_exactly);

}  // namespace aaa
