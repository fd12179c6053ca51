// The body of a request, and its ways to aaad: an exchange, or one way, into the send buffer or
// straight to the request socket.
#pragma once

#include <cassert>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_client.h"
#include "transport/base/memory.h"

namespace aaa {

// It may hold a password, so what was written is wiped before the block is freed.
class RequestBody {
 public:
  // A body to be written piece by piece. More than INT32_MAX counts as out of memory.
  explicit RequestBody(std::uint64_t capacity)
      : bytes_(capacity > INT32_MAX ? nullptr : AAA_MALLOC(static_cast<std::uint32_t>(capacity))),
        capacity_(static_cast<std::uint32_t>(capacity)) {}

  // A record's body.
  template <class Record>
  RequestBody(std::uint32_t (*encode)(Record*, void**), Record* record)
      : size_(encode(record, &bytes_)), capacity_(size_) {}

  ~RequestBody() { wipe_and_free(bytes_, size_); }
  RequestBody(const RequestBody&) = delete;
  RequestBody& operator=(const RequestBody&) = delete;

  // False when there was no memory.
  explicit operator bool() const { return bytes_ != nullptr; }

  std::size_t room() const { return capacity_ - size_; }

  // The place of the next `count` bytes, which the caller writes.
  // REQUIRES: the body has memory and room for them.
  void* extend(std::size_t count) {
    assert(bytes_ != nullptr && count <= room());
    char* const place = static_cast<char*>(bytes_) + size_;
    size_ += static_cast<std::uint32_t>(count);
    return place;
  }
  void add_bytes(const void* bytes, std::size_t count) { std::memcpy(extend(count), bytes, count); }
  void add_word(std::uint32_t word) { add_bytes(&word, sizeof word); }

  const void* data() const { return bytes_; }
  std::uint32_t size() const { return size_; }

 private:
  void* bytes_ = nullptr;
  std::uint32_t size_ = 0;
  std::uint32_t capacity_;
};

// aaalib_sr_ipc_msg() with a body.
// REQUIRES: the body has memory, and at most INT32_MAX bytes.
inline aaa_ipc_header* exchange(aaa_msg_type type, const RequestBody& body) {
  assert(body && body.size() <= INT32_MAX);
  return aaalib_sr_ipc_msg(type, body.data(), static_cast<std::int32_t>(body.size()));
}

// aaalib_send_ipc_msg() under aaa_lib_lock.
std::int32_t send_one_way(std::uint32_t type, std::uint32_t id, const void* body,
                          std::int32_t body_length);

// Sends a body without taking aaa_lib_lock. Returns 0 or an errno value.
// REQUIRES: the body has memory.
std::uint32_t send_body(std::uint32_t type, std::uint32_t id, const RequestBody& body);

// Sends an encoded record under aaa_lib_lock. Returns 0, a negative errno value, or `no_memory`
// when the record could not be encoded. Failures are logged under the name `function`.
std::int32_t send_record(const char* function, std::uint32_t type, std::uint32_t id,
                         const RequestBody& record, std::int32_t no_memory = -ENOMEM);

}  // namespace aaa
