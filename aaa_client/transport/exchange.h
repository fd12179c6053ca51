// The reply of a synchronous exchange on the request socket.
#pragma once

#include <cstdint>

#include "aaa_client.h"
#include "transport/base/cancellation.h"

namespace aaa {

// Owns a reply. The thread cannot be cancelled while one exists.
class Reply {
 public:
  explicit Reply(aaa_ipc_header* message) : message_(message) {}
  ~Reply();
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;

  explicit operator bool() const { return message_ != nullptr; }
  std::uint32_t type() const { return message_->type; }
  std::uint32_t length() const { return message_->length; }
  const void* body() const { return message_ + 1; }

  // The n-th word and the first byte of the body; missing bytes read as zero.
  std::uint32_t word(std::uint32_t n) const;
  std::uint8_t first_byte() const;

 private:
  CancellationScope no_cancellation_{PTHREAD_CANCEL_DISABLE};
  aaa_ipc_header* message_;
};

}  // namespace aaa
