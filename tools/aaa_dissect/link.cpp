#include "link.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cstring>
#include <utility>

#include "server/listener.h"
#include "wire/registration.h"

namespace aaa_dissect {
namespace {

using aaa_capture::Direction;
using aaa_capture::Form;
using aaa_sim::View;

constexpr std::size_t kClient = 0;
constexpr std::size_t kDaemon = 1;

// Its process has closed it, and not only one direction.
bool is_closed_by_peer(int fd) {
  pollfd wait{fd, 0, 0};
  return ::poll(&wait, 1, 0) == 1 && (wait.revents & POLLHUP) != 0;
}

}  // namespace

Link::Link(aaa_sim::EventLoop& loop, aaa_sim::FileDescriptor client, aaa_sim::FileDescriptor daemon,
           std::shared_ptr<Connector> connector, Show show, Ready ready)
    : loop_(loop),
      connector_(std::move(connector)),
      show_(std::move(show)),
      ready_(std::move(ready)),
      client_{"", aaa_sim::peer_pid(client.get())},
      sides_{Side{std::move(client)}, Side{std::move(daemon)}},
      flows_{Flow(sides_[kClient].socket.get(), sides_[kDaemon].socket.get(),
                  [this](View bytes, Form form, const char* remark) {
                    this->show(Direction::inbound, bytes, form, remark);
                  }),
             Flow(sides_[kDaemon].socket.get(), sides_[kClient].socket.get(),
                  [this](View bytes, Form form, const char* remark) {
                    this->show(Direction::outbound, bytes, form, remark);
                  })} {
  watch();
}

Link::~Link() {
  for (const Side& side : sides_)
    if (side.events != 0) loop_.forget(side.socket.get());
}

bool Link::handle(std::size_t side, std::uint32_t events) {
  const bool is_gone = (events & (EPOLLHUP | EPOLLERR)) != 0;
  Flow& from = flows_[side];
  Flow& to = flows_[1 - side];
  if (((events & EPOLLOUT) != 0 || is_gone) && to.has_output()) to.write();
  if (((events & EPOLLIN) != 0 || is_gone) && from.wants_input()) from.read();
  if (from.has_output()) from.write();
  const bool goes_on = pass_end(kClient) && pass_end(kDaemon);
  if (goes_on && !(from.is_done() && to.is_done())) {
    watch();
    return true;
  }
  for (Flow& flow : flows_)
    flow.give_up();
  return false;
}

void Link::end() {
  for (const Side& side : sides_)
    ::shutdown(side.socket.get(), SHUT_RD);
}

void Link::show_rest() {
  for (Flow& flow : flows_)
    flow.end_input();
}

std::size_t Link::left() const {
  return flows_[kClient].output_size() + flows_[kDaemon].output_size() + flows_[kClient].lost();
}

// Once all that one end wrote has reached the other, so does its end. False when it was the end of
// the connection.
bool Link::pass_end(std::size_t side) {
  if (!flows_[side].is_done() || sides_[side].has_passed_end) return true;
  sides_[side].has_passed_end = true;
  if (is_closed_by_peer(sides_[side].socket.get())) return false;
  ::shutdown(sides_[1 - side].socket.get(), SHUT_WR);
  return true;
}

// A socket that is waited for in no way is not watched at all: a closed one is always ready.
void Link::watch() {
  for (std::size_t i = 0; i < sides_.size(); ++i) {
    std::uint32_t events = 0;
    if (flows_[i].wants_input()) events |= EPOLLIN;
    if (flows_[1 - i].has_output()) events |= EPOLLOUT;
    const int fd = sides_[i].socket.get();
    const std::uint32_t before = std::exchange(sides_[i].events, events);
    if (before == events) continue;
    if (events == 0)
      loop_.forget(fd);
    else if (before == 0)
      loop_.watch(fd, events, [ready = ready_, i](std::uint32_t now) { ready(i, now); });
    else
      loop_.set_events(fd, events);
  }
}

void Link::show(Direction direction, View bytes, Form form, const char* remark) {
  if (direction == Direction::inbound && form == Form::message) identify(bytes);
  show_(aaa_capture::interface_of(client_, role_),
        {.time = aaa_capture::time_now(),
         .direction = direction,
         .bytes = {bytes.begin(), bytes.end()},
         .length = static_cast<std::uint32_t>(bytes.size()),
         .comment = remark},
        form);
}

// A register request tells which socket of which client it is.
void Link::identify(View message) {
  aaa_ipc_header header;
  if (message.size() < sizeof header) return;
  std::memcpy(&header, message.data(), sizeof header);
  if (header.marker != aaa_sim::kMarker || header.type != AAA_MSG_REGISTER_REQ) return;
  aaa_sim::Registration registration = aaa_sim::parse_registration(message.subspan(sizeof header));
  client_.model = std::move(registration.model);
  role_ = registration.role;
}

}  // namespace aaa_dissect
