#include "runtime/inbound_message.h"

#include "transport/framing.h"
#include "transport/memory.h"

namespace aaa {
namespace {

// The NUL behind the body is not counted in its length.
void* allocate_body(std::uint32_t length) {
  if (length > max_body_length) return nullptr;
  auto* const body = static_cast<char*>(AAA_MALLOC(length + 1));
  if (body != nullptr) body[length] = '\0';
  return body;
}

}  // namespace

void InboundMessage::release() {
  wipe_and_free(body, header.length);
  body = nullptr;
}

ReadOutcome read_message(std::int32_t fd, MarkerCheck check, InboundMessage& message) {
  std::int32_t error = aaa_msg_recv(fd, &message.header, header_size);
  if (error != 0) return {ReadStep::header, error};
  if (check == MarkerCheck::on && message.header.marker != header_marker) {
    return {ReadStep::marker, 0};
  }
  const std::uint32_t length = message.header.length;
  if (length == 0) return {ReadStep::done, 0};
  message.body = allocate_body(length);
  if (message.body == nullptr) return {ReadStep::memory, 0};
  error = aaa_msg_recv(fd, message.body, static_cast<std::int32_t>(length));
  if (error == 0) return {ReadStep::done, 0};
  message.release();
  return {ReadStep::body, error};
}

}  // namespace aaa
