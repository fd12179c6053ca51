#include "baselines/two_sockets.h"

#include <cstdlib>
#include <thread>

#include "support/server_process.h"

namespace bench {
namespace {

constexpr std::size_t read_ahead_size = 1 << 16;

void receive_in_two_reads(int fd, const TakeBody& take) {
  aaa_ipc_header header;
  while (true) {
    wait_readable(fd);
    if (!receive_all(fd, &header, sizeof header)) return;
    auto* const body = static_cast<std::uint8_t*>(std::malloc(header.length + 1));
    if (!receive_all(fd, body, header.length)) return;
    take(body, header.length);
    std::free(body);
  }
}

void receive_ahead(int fd, const TakeBody& take) {
  ReadAhead input(read_ahead_size);
  do {
    wait_readable(fd);
  } while (input.read(fd, [&](const aaa_ipc_header& header, const std::uint8_t* body) {
    take(body, header.length);
  }));
}

}  // namespace

TwoSockets start_peer(const PeerSettings& settings) {
  const SocketPair requests = make_pair(SOCK_STREAM);
  const SocketPair events = make_pair(SOCK_STREAM);
  start_server([&] { FastPeer(requests.server, events.server, settings).serve(); });
  return {requests.client, events.client};
}

void start_receiver(int fd, std::size_t reads, const TakeBody& take) {
  const auto receive = reads == 1 ? receive_ahead : receive_in_two_reads;
  std::thread(receive, fd, take).detach();
}

RawCallbackRequests::RawCallbackRequests(const TwoSockets& sockets, std::size_t body_length,
                                         std::size_t reads)
    : request_(blank_frame(AAA_MSG_AUTHEN_REQ, body_length)), request_socket_(sockets.request) {
  sem_init(&answered_, 0, 0);
  start_receiver(sockets.event, reads,
                 [this](const std::uint8_t*, std::size_t) { sem_post(&answered_); });
}

void RawCallbackRequests::send_and_wait() {
  send_all(request_socket_, request_.data(), request_.size());
  sem_wait(&answered_);
}

}  // namespace bench
