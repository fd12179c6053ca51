#include "runtime/send/send_buffer.h"

#include <cstring>

#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/debug_log.h"
#include "transport/link_frames.h"
#include "transport/message.h"

aaa_send_buf aaalib_send_buf = {};
std::uint32_t g_send_buf_msg_cnt = 0;
std::uint8_t g_send_buf_init = 0;
std::uint32_t g_send_buf_tmr = 0;
std::uint8_t g_send_buf_tmr_init = 0;

namespace {

constexpr std::uint32_t max_messages = 16;

void flush_and_reset() REQUIRES(aaa_lib_send_buf_lock) {
  aaa_lib_send_buf();
  aaa_lib_send_buf_reset();
}

bool fits(std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  return g_send_buf_msg_cnt < max_messages &&
         length + aaalib_send_buf.header.length < AAA_SEND_BUF_BODY_SIZE;
}

void append(const void* message, std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  std::memcpy(aaalib_send_buf.body + aaalib_send_buf.header.length, message, length);
  aaalib_send_buf.header.length += length;
  ++g_send_buf_msg_cnt;
}

std::int32_t send(const void* message, std::uint32_t length) {
  return aaa::send_on_link(aaa::LinkSocket::request, aaa::link_number(), message, length);
}

// Past the buffer, behind what it holds.
void send_directly(const void* message, std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  flush_and_reset();
  const std::int32_t error = send(message, length);
  if (error != 0) {
    AAA_DEBUG_LOG_AS("aaa_lib_add_send_buf", "send fail error %s.\r\n", std::strerror(error));
  }
}

}  // namespace

void aaa_lib_send_buf_init() {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  if (g_send_buf_init != 0) return;
  aaa_lib_send_buf_reset();
  g_send_buf_init = 1;
}

void aaa_lib_send_buf_reset() {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  g_send_buf_msg_cnt = 0;
  aaalib_send_buf.header = {
      .marker = aaa::header_marker, .id = 0, .type = AAA_MSG_PAD_PKT, .length = 0};
  std::memset(aaalib_send_buf.body, 0, sizeof aaalib_send_buf.body);
}

void aaa_lib_send_buf() {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  if (g_send_buf_msg_cnt == 0) return;
  if (aaa::load(g_aaa_client_cb.sync_fd) < 1 || aaa::waits_for_register_request()) {
    AAA_DEBUG_LOG("send sd not available.\r\n");
    return;
  }
  const std::int32_t error =
      send(&aaalib_send_buf, aaa::header_size + aaalib_send_buf.header.length);
  if (error != 0) AAA_DEBUG_LOG("send fail error %s.\r\n", std::strerror(error));
}

std::int32_t aaa_lib_add_send_buf(const void* message, std::uint32_t length) {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  if (length >= AAA_SEND_BUF_BODY_SIZE) {
    send_directly(message, length);
    return 0;
  }
  if (!fits(length)) flush_and_reset();
  append(message, length);
  return 0;
}
