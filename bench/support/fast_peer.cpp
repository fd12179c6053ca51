#include "support/fast_peer.h"

#include <sys/epoll.h>

#include <algorithm>
#include <cstring>

namespace bench {
namespace {

constexpr std::size_t buffer_size = 1 << 18;

// First session id and number of ids: with one id the next call asks again.
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
      input_(buffer_size) {}

void FastPeer::serve() {
  while (serve_once()) {
  }
}

bool FastPeer::serve_once() {
  return input_.read(request_socket_, [this](const aaa_ipc_header& header,
                                             const std::uint8_t* body) { handle(header, body); });
}

void FastPeer::handle(const aaa_ipc_header& header, const std::uint8_t* body) {
  switch (header.type) {
    case AAA_MSG_AUTHEN_REQ:
      answer(header.id);
      break;
    case AAA_MSG_PAD_PKT:
      split_frames(body, header.length,
                   [this](const aaa_ipc_header& inner, const std::uint8_t* inner_body) {
                     handle(inner, inner_body);
                   });
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
      static_cast<FastPeer*>(events[i].data.ptr)->serve_once();
  }
}

}  // namespace bench
