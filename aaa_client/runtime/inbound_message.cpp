#include "runtime/inbound_message.h"

#include "transport/framing.h"
#include "transport/memory.h"
#include "transport/read_ahead.h"

namespace aaa {
namespace {

// The NUL behind the body is not counted in its length.
void* allocate_body(std::uint32_t length) {
  if (length > max_body_length) return nullptr;
  auto* const body = static_cast<char*>(AAA_MALLOC(length + 1));
  if (body != nullptr) body[length] = '\0';
  return body;
}

std::int32_t receive(std::int32_t fd, Reader reader, void* to, std::size_t length,
                     std::size_t& received) {
  if (reader == Reader::receive_thread) return event_read_ahead.receive(fd, to, length, received);
  return receive_exactly(fd, to, length, received);
}

}  // namespace

void InboundMessage::release() {
  wipe_and_free(body, filled);
  body = nullptr;
  filled = 0;
}

ReadOutcome read_message(std::int32_t fd, Reader reader, InboundMessage& message) {
  std::size_t received = 0;
  message.link = link_number();
  std::int32_t error = receive(fd, reader, &message.header, header_size, received);
  if (error != 0) return {ReadStep::header, error};
  if (reader == Reader::receive_thread && message.header.marker != header_marker) {
    return {ReadStep::marker, 0};
  }
  const std::uint32_t length = message.header.length;
  if (length == 0) return {ReadStep::done, 0};
  message.body = allocate_body(length);
  if (message.body == nullptr) return {ReadStep::memory, 0};
  error = receive(fd, reader, message.body, length, message.filled);
  if (error == 0) return {ReadStep::done, 0};
  message.release();
  return {ReadStep::body, error};
}

}  // namespace aaa
