// Bytes read from the event socket beyond the current message, so that one system call receives
// many messages. They belong to the connection and are dropped with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

class ReadAhead {
 public:
  // Delivers exactly `length` bytes and reads ahead what the socket has. Result as aaa_msg_recv();
  // a failed call loses the bytes it consumed. `received` is at any time the number of bytes
  // written at `to`. A cancellation point.
  std::int32_t receive(std::int32_t fd, void* to, std::size_t length, std::size_t& received)
      REQUIRES(event_read_lock);

  // The same without reading ahead.
  std::int32_t receive_no_further(std::int32_t fd, void* to, std::size_t length,
                                  std::size_t& received) REQUIRES(event_read_lock);

  // Whether bytes are left. Needs no lock; without one it is only a hint.
  bool holds_bytes() const { return load(buffered_) != 0; }

  // Whether a whole message is left, so that receiving it neither waits nor calls the system.
  bool holds_message() const REQUIRES(event_read_lock);

  // Drops and wipes everything: the connection has ended.
  void clear() REQUIRES(event_read_lock);

 private:
  // Moves up to `length` bytes out and returns how many.
  std::size_t take(void* to, std::size_t length) REQUIRES(event_read_lock);
  std::int32_t refill(std::int32_t fd, std::size_t least) REQUIRES(event_read_lock);

  static constexpr std::size_t capacity = 16384;
  std::uint8_t bytes_[capacity] GUARDED_BY(event_read_lock);
  std::size_t next_ GUARDED_BY(event_read_lock);
  std::uint32_t buffered_;  // written under event_read_lock
};

// Of the event socket, for the receive thread. The client's event loop polls the socket, so agent
// mode reads message by message.
extern ReadAhead event_read_ahead;

}  // namespace aaa
