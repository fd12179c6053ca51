// Bytes read from a socket beyond what was asked for, so that one system call receives a whole
// message, or many. They belong to the connection and are dropped with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

// REQUIRES, unless said otherwise: the lock that guards it is held.
class ReadAhead {
 public:
  template <std::size_t Capacity>
  constexpr ReadAhead(std::uint8_t (&buffer)[Capacity], Mutex& guard)
      : guard_(guard), bytes_(buffer), capacity_(Capacity) {}

  // Delivers exactly `length` bytes and reads ahead what the socket has. Result as aaa_msg_recv();
  // a failed call loses the bytes it consumed. `received` is at any time the number of bytes
  // written at `to`. A cancellation point.
  std::int32_t receive(std::int32_t fd, void* to, std::size_t length, std::size_t& received);

  // The same without reading ahead.
  std::int32_t receive_no_further(std::int32_t fd, void* to, std::size_t length,
                                  std::size_t& received);

  // How many bytes are left. Needs no lock; without one it is only a hint.
  std::uint32_t size() const { return load(buffered_); }

  // Whether a whole message is left, so that receiving it neither waits nor calls the system.
  bool holds_message() const;

  // Drops and wipes everything: the connection has ended.
  void clear();

 private:
  // Moves up to `length` bytes out and returns how many.
  std::size_t take(void* to, std::size_t length);
  std::int32_t refill(std::int32_t fd, std::size_t least);

  [[maybe_unused]] Mutex& guard_;  // for assertions
  std::uint8_t* bytes_;
  std::size_t capacity_;
  std::size_t next_ = 0;
  std::uint32_t buffered_ = 0;  // written with the lock held
};

// Of the event socket, for the receive thread; guarded by event_read_lock. The client's event loop
// polls the socket, so agent mode reads message by message.
extern ReadAhead event_read_ahead;

// Of the request socket, for exchanges; guarded by aaa_lib_lock. After the answer of an aaad that
// sends one it is empty.
extern ReadAhead request_read_ahead;

}  // namespace aaa
