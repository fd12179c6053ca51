#include "support/fast_peer.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "support/sockets.h"

namespace bench {
namespace {

constexpr std::size_t buffer_size = 1 << 18;

// The first of them is the session id, the second the number of ids: the next call asks again.
Bytes reply_of(std::size_t length) {
  Bytes reply = blank_frame(AAA_MSG_GET_SESSION_ID, length);
  const std::uint32_t words[2] = {1, 1};
  std::memcpy(reply.data() + header_size, words, std::min(length, sizeof words));
  return reply;
}

Bytes result_of(std::size_t length) {
  const Bytes body = typical_result(length);
  return frame(AAA_MSG_NOTIFY_RESULT, 1, body.data(), body.size());
}

}  // namespace

FastPeer::FastPeer(int request_socket, int event_socket, const PeerSettings& settings)
    : request_socket_(request_socket),
      event_socket_(event_socket),
      result_(result_of(settings.result_length)),
      reply_(reply_of(settings.reply_length)),
      tally_(settings.tally),
      buffer_(buffer_size) {}

void FastPeer::serve() {
  while (take_some()) {
  }
}

bool FastPeer::take_some() {
  std::uint8_t* const next = buffer_.data() + kept_;
  const ssize_t received = recv(request_socket_, next, buffer_.size() - kept_, 0);
  if (received <= 0) return false;
  const std::size_t size = kept_ + static_cast<std::size_t>(received);
  const std::size_t taken = take_messages(buffer_.data(), size);
  kept_ = size - taken;
  std::memmove(buffer_.data(), buffer_.data() + taken, kept_);
  return true;
}

// Returns the bytes of the whole messages.
std::size_t FastPeer::take_messages(const std::uint8_t* bytes, std::size_t size) {
  std::size_t taken = 0;
  aaa_ipc_header header;
  while (size - taken >= header_size) {
    std::memcpy(&header, bytes + taken, header_size);
    const std::size_t length = header_size + header.length;
    if (size - taken < length) break;
    take(header, bytes + taken + header_size);
    taken += length;
  }
  return taken;
}

void FastPeer::take(const aaa_ipc_header& header, const std::uint8_t* body) {
  switch (header.type) {
    case AAA_MSG_AUTHEN_REQ:
      answer(header.id);
      break;
    case AAA_MSG_PAD_PKT:
      take_messages(body, header.length);
      break;
    case AAA_MSG_GET_SESSION_ID:
      send_all(request_socket_, reply_.data(), reply_.size());
      break;
    case AAA_MSG_HEARTBEAT: {
      const Bytes heartbeat = blank_frame(AAA_MSG_HEARTBEAT, 0);
      send_all(event_socket_, heartbeat.data(), heartbeat.size());
      break;
    }
    default:
      break;
  }
}

void FastPeer::answer(std::uint32_t session_id) {
  if (tally_ != nullptr) {
    tally_->count(1);
    return;
  }
  std::memcpy(result_.data() + session_id_of_result, &session_id, sizeof session_id);
  send_all(event_socket_, result_.data(), result_.size());
}

void serve_together(std::vector<FastPeer>& peers) {
  const int ready = epoll_create1(EPOLL_CLOEXEC);
  for (FastPeer& peer : peers) {
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.ptr = &peer;
    epoll_ctl(ready, EPOLL_CTL_ADD, peer.request_socket(), &event);
  }
  epoll_event events[64];
  while (true) {
    const int count = epoll_wait(ready, events, 64, -1);
    for (int i = 0; i < count; i++)
      static_cast<FastPeer*>(events[i].data.ptr)->take_some();
  }
}

}  // namespace bench
