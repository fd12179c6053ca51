#include "transport/message.h"

#include <cerrno>
#include <cstring>

#include "transport/base/cancellation.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

std::uint32_t block_size(MessageBlock block, std::uint32_t body_length) {
  switch (block) {
    case MessageBlock::header_and_body:
      return header_size + body_length;
    case MessageBlock::body:
      return body_length;
    case MessageBlock::body_and_nul:
      return body_length == 0 ? 0 : body_length + 1;
  }
  return 0;
}

// Returns false when there is no memory.
bool allocate(MessageBlock block, Message& message) {
  const std::uint32_t length = message.header.length;
  if (length > max_body_length) return false;
  const std::uint32_t size = block_size(block, length);
  if (size == 0) return true;
  message.block = AAA_MALLOC(size);
  if (message.block == nullptr) return false;
  auto* body = static_cast<char*>(message.block);
  if (block == MessageBlock::header_and_body) {
    std::memcpy(body, &message.header, header_size);
    body += header_size;
  }
  if (block == MessageBlock::body_and_nul) body[length] = '\0';
  message.body = length == 0 ? nullptr : body;
  return true;
}

ReadOutcome read_whole(std::int32_t fd, ReceiveExactly receive, Message& message) {
  return read_message(fd, {MessageBlock::header_and_body, false, receive}, message);
}

}  // namespace

void free_message(aaa_ipc_header* message) {
  if (message != nullptr) wipe_and_free(message, header_size + message->length);
}

void Message::release() {
  if (body != nullptr) wipe(body, filled);
  AAA_FREE(block);
  block = nullptr;
  body = nullptr;
  filled = 0;
}

ReadOutcome read_message(std::int32_t fd, const MessageReader& reader, Message& message) {
  std::size_t received = 0;
  std::int32_t error = reader.receive(fd, &message.header, header_size, received);
  if (error != 0) return {ReadStep::header, error};
  if (reader.checks_marker && message.header.marker != header_marker) return {ReadStep::marker, 0};
  if (!allocate(reader.block, message)) return {ReadStep::memory, 0};
  if (message.body == nullptr) return {ReadStep::done, 0};
  error = reader.receive(fd, message.body, message.header.length, message.filled);
  if (error == 0) return {ReadStep::done, 0};
  message.release();
  return {ReadStep::body, error};
}

aaa_ipc_header* aaalib_recv_ipc_msg_from_sd(std::int32_t fd, ReceiveExactly receive) {
  Message message;
  const ReadOutcome outcome = read_whole(fd, receive, message);
  switch (outcome.step) {
    case ReadStep::header:
      AAA_DEBUG_LOG("Receive ipc message header failed, errno(%d).\r\n", outcome.error);
      break;
    case ReadStep::memory:
      AAA_DEBUG_LOG("Alloc memory failed.\r\n");
      break;
    case ReadStep::body:
      AAA_DEBUG_LOG("Receive ipc message body failed, errno(%d).\r\n", outcome.error);
      break;
    case ReadStep::marker:
    case ReadStep::done:
      break;
  }
  return static_cast<aaa_ipc_header*>(message.block);
}

}  // namespace aaa

aaa_ipc_header* aaa_init_msg(std::uint32_t type, std::uint32_t id, const void* body,
                             std::uint32_t body_length, std::uint32_t* total_length) {
  using namespace aaa;
  if (body == nullptr) body_length = 0;
  if (body_length > max_body_length) return nullptr;
  auto* const message = static_cast<aaa_ipc_header*>(AAA_MALLOC(header_size + body_length));
  if (message == nullptr) return nullptr;
  *message = {.marker = header_marker, .id = id, .type = type, .length = body_length};
  if (body_length > 0) std::memcpy(message_body(message), body, body_length);
  if (total_length != nullptr) *total_length = header_size + body_length;
  return message;
}

aaa_ipc_header* aaa_recv_ipc_msg_from_sd(std::int32_t fd) {
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  aaa::Message message;
  aaa::read_whole(fd, aaa::receive_exactly, message);
  return static_cast<aaa_ipc_header*>(message.block);
}
