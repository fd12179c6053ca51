#include "transport/read_ahead.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "transport/base/memory.h"
#include "transport/framing.h"

namespace aaa {

namespace {

std::uint8_t event_bytes[16384];
std::uint8_t request_bytes[512];

}  // namespace

constinit ReadAhead event_read_ahead(event_bytes, event_read_lock);
constinit ReadAhead request_read_ahead(request_bytes, aaa_lib_lock);

std::int32_t ReadAhead::receive(std::int32_t fd, void* to, std::size_t length,
                                std::size_t& received) {
  assert(is_held(guard_));
  received = take(to, length);
  const std::size_t missing = length - received;
  if (missing == 0) return 0;
  if (missing >= capacity_) return receive_between(fd, to, length, length, received);
  const std::int32_t error = refill(fd, missing);
  if (error == 0) received += take(static_cast<std::uint8_t*>(to) + received, missing);
  return error;
}

std::int32_t ReadAhead::receive_no_further(std::int32_t fd, void* to, std::size_t length,
                                           std::size_t& received) {
  assert(is_held(guard_));
  received = take(to, length);
  return received == length ? 0 : receive_between(fd, to, length, length, received);
}

bool ReadAhead::holds_message() const {
  if (buffered_ < header_size) return false;
  aaa_ipc_header header;
  std::memcpy(&header, bytes_ + next_, sizeof header);
  return buffered_ - header_size >= header.length;
}

void ReadAhead::clear() {
  assert(is_held(guard_));
  wipe(bytes_, capacity_);
  store(buffered_, 0U);
}

std::size_t ReadAhead::take(void* to, std::size_t length) {
  const std::size_t count = std::min<std::size_t>(length, buffered_);
  std::memcpy(to, bytes_ + next_, count);
  // Bodies may hold passwords.
  wipe(bytes_ + next_, count);
  next_ += count;
  store(buffered_, buffered_ - static_cast<std::uint32_t>(count));
  return count;
}

std::int32_t ReadAhead::refill(std::int32_t fd, std::size_t least) {
  std::size_t received = 0;
  const std::int32_t error = receive_between(fd, bytes_, least, capacity_, received);
  if (error != 0) {
    wipe(bytes_, received);
    return error;
  }
  next_ = 0;
  store(buffered_, static_cast<std::uint32_t>(received));
  return 0;
}

}  // namespace aaa
