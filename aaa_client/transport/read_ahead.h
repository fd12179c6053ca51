// Bytes of the event socket that were received before the message that they belong to was asked
// for: one system call then takes many messages. They belong to the connection and end with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "transport/base/atomic_word.h"

namespace aaa {

// Used under event_read_lock, except where said otherwise.
class ReadAhead {
 public:
  // Takes exactly `length` bytes, and from the socket as many more as it has. Result as
  // aaa_msg_recv(); a failed call loses the bytes that it took. `received` is at any time how many
  // bytes have been written at `to`. A cancellation point.
  std::int32_t receive(std::int32_t fd, void* to, std::size_t length, std::size_t& received);

  // The same, but takes no more from the socket than it was asked for.
  std::int32_t receive_no_further(std::int32_t fd, void* to, std::size_t length,
                                  std::size_t& received);

  // Whether something is left to take. Without a lock, and then only a hint.
  bool holds_bytes() const { return load(held_) != 0; }

  // Forgets and wipes everything: the connection has ended.
  void clear();

 private:
  // Moves up to `length` bytes out and returns how many.
  std::size_t take(void* to, std::size_t length);
  std::int32_t refill(std::int32_t fd, std::size_t least);

  static constexpr std::size_t capacity = 16384;
  std::uint8_t bytes_[capacity];
  std::size_t next_;
  std::uint32_t held_;
};

// Of the event socket, as the receive thread reads it. The client's event loop, which is told when
// the socket is readable, reads message by message instead.
extern ReadAhead event_read_ahead;

}  // namespace aaa
