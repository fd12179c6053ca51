// Bytes of the event socket that were received before the message that they belong to was asked
// for: one system call then takes many messages. They belong to the connection and end with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

class ReadAhead {
 public:
  // Takes exactly `length` bytes, and from the socket as many more as it has. Result as
  // aaa_msg_recv(); a failed call loses the bytes that it took. `received` is at any time how many
  // bytes have been written at `to`. A cancellation point.
  std::int32_t receive(std::int32_t fd, void* to, std::size_t length, std::size_t& received)
      REQUIRES(event_read_lock);

  // The same, but takes no more from the socket than it was asked for.
  std::int32_t receive_no_further(std::int32_t fd, void* to, std::size_t length,
                                  std::size_t& received) REQUIRES(event_read_lock);

  // Whether something is left to take. Without a lock, and then only a hint.
  bool holds_bytes() const { return load(held_) != 0; }

  // Forgets and wipes everything: the connection has ended.
  void clear() REQUIRES(event_read_lock);

 private:
  // Moves up to `length` bytes out and returns how many.
  std::size_t take(void* to, std::size_t length) REQUIRES(event_read_lock);
  std::int32_t refill(std::int32_t fd, std::size_t least) REQUIRES(event_read_lock);

  static constexpr std::size_t capacity = 16384;
  std::uint8_t bytes_[capacity] GUARDED_BY(event_read_lock);
  std::size_t next_ GUARDED_BY(event_read_lock);
  std::uint32_t held_;  // written under event_read_lock
};

// Of the event socket, as the receive thread reads it. The client's event loop, which is told when
// the socket is readable, reads message by message instead.
extern ReadAhead event_read_ahead;

}  // namespace aaa
