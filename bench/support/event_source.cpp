#include "support/event_source.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace bench {
namespace {

constexpr std::size_t write_size = 49152;

void send_in_large_writes(int event_socket, const Bytes& message, std::size_t messages) {
  const std::size_t at_once = std::max<std::size_t>(1, write_size / message.size());
  Bytes block;
  for (std::size_t i = 0; i < std::min(at_once, messages); i++)
    block.insert(block.end(), message.begin(), message.end());
  while (messages > 0) {
    const std::size_t sent = std::min(at_once, messages);
    send_all(event_socket, block.data(), sent * message.size());
    messages -= sent;
  }
}

void send_one_by_one(int event_socket, const Bytes& message, std::size_t messages,
                     std::size_t pause_us) {
  for (std::size_t i = 0; i < messages; i++) {
    send_all(event_socket, message.data(), message.size());
    usleep(static_cast<useconds_t>(pause_us));
  }
}

}  // namespace

EventSource::EventSource() {
  const SocketPair pair = make_pair(SOCK_STREAM);
  client_ = pair.client;
  server_ = pair.server;
}

void EventSource::ask_for(std::size_t messages) const {
  const std::uint64_t count = messages;
  send_all(client_, &count, sizeof count);
}

void EventSource::serve(int event_socket, const Bytes& message, std::size_t pause_us) const {
  std::uint64_t count = 0;
  while (receive_all(server_, &count, sizeof count)) {
    if (pause_us == 0) {
      send_in_large_writes(event_socket, message, count);
    } else {
      send_one_by_one(event_socket, message, count, pause_us);
    }
  }
}

}  // namespace bench
