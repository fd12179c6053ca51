#include "fuzz/link/scripted_aaad.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "aaa_client.h"
#include "support/scripted_calls.h"
#include "traffic/touch.h"

namespace fuzz {

using test::fails;
using traffic::require;

namespace {

constexpr int kFirstSocket = 1000;
constexpr std::uint64_t kSecond = 1000000;
constexpr std::uint64_t kSocketTimeout = 2 * kSecond;

thread_local ScriptedAaad* playing = nullptr;

int error_of(std::uint16_t number) {
  constexpr std::array errors = {EINTR,    EAGAIN,   EPIPE,     ECONNRESET, EBADF,
                                 ENOTSOCK, ENOTCONN, ETIMEDOUT, ENETDOWN,   EOPNOTSUPP,
                                 EFAULT,   ENOMEM,   ENOBUFS,   EIO};
  return errors[number % errors.size()];
}

// Takes up to `size` bytes from the front of `from`.
ssize_t take(std::string& from, void* data, std::size_t size) {
  const std::size_t count = std::min(size, from.size());
  std::memcpy(data, from.data(), count);
  from.erase(0, count);
  return static_cast<ssize_t>(count);
}

}  // namespace

ssize_t LocalPair::send(const void* data, std::size_t size) {
  waiting_.push_back(test::bytes_of(data, size));
  return static_cast<ssize_t>(size);
}

ssize_t LocalPair::recv(void* data, std::size_t size) {
  if (waiting_.empty()) return fails(EAGAIN);
  const ssize_t count = take(waiting_.front(), data, size);
  waiting_.pop_front();
  return count;
}

ScriptedAaad::ScriptedAaad(Script script) : flags_(script.flags) {
  static const std::string registration = traffic::register_answer().bytes();
  static const std::string status = traffic::info_ready().bytes();
  answer_registrations_with(registration, status);
  for (Step& step : script.steps) {
    if (!is_answer(step.kind)) {
      if (step.kind != Kind::event || !step.bytes.empty()) steps_.push_back(std::move(step));
      continue;
    }
    if (step.kind == Kind::answer || answers_.empty()) answers_.emplace_back();
    if (!step.bytes.empty()) answers_.back().push_back(std::move(step.bytes));
  }
  playing = this;
}

ScriptedAaad::~ScriptedAaad() {
  playing = nullptr;
}

ScriptedAaad* ScriptedAaad::on_this_thread() {
  return playing;
}

ScriptedAaad::Socket& ScriptedAaad::socket_of(int fd) {
  require(fd >= kFirstSocket);
  Socket& socket = sockets_.at(static_cast<std::size_t>(fd - kFirstSocket));
  require(socket.open);
  return socket;
}

std::size_t ScriptedAaad::open_sockets() const {
  return static_cast<std::size_t>(
      std::count_if(sockets_.begin(), sockets_.end(), [](const Socket& one) { return one.open; }));
}

int ScriptedAaad::socket() {
  when_opening();
  answered_.clear();
  sockets_.emplace_back();
  return kFirstSocket + static_cast<int>(sockets_.size()) - 1;
}

// The request socket is connected first.
int ScriptedAaad::connect() {
  if (g_aaa_client_cb.sync_fd >= 0) when_connected();
  return 0;
}

int ScriptedAaad::shutdown(int fd) {
  socket_of(fd).shut_down = true;
  return 0;
}

int ScriptedAaad::close(int fd) {
  socket_of(fd).open = false;
  return 0;
}

void ScriptedAaad::answer_registrations_with(std::string on_request_socket,
                                             std::string on_event_socket) {
  good_registration_ = std::move(on_request_socket);
  good_status_ = std::move(on_event_socket);
}

void ScriptedAaad::end_faults() {
  faults_ended_ = true;
  write_error_.reset();
  no_memory_.reset();
  answers_.clear();
}

ssize_t ScriptedAaad::send(int fd, const void* data, std::size_t size) {
  traffic::touch(data, size);
  if (LocalPair::has(fd)) return pair_.send(data, size);
  if (socket_of(fd).has_gone()) return fails(EPIPE);
  if (write_error_) return fails(*std::exchange(write_error_, std::nullopt));
  require(size >= 16);
  take_write(fd, test::word_at(test::bytes_of(data, size), 8));
  return static_cast<ssize_t>(size);
}

void ScriptedAaad::take_write(int fd, std::uint32_t type) {
  if (fd == g_aaa_client_cb.sync_fd) {
    if (type != AAA_MSG_HEARTBEAT) release_answer(type);
  } else if (type == AAA_MSG_REGISTER_REQ && (flags_ & kAcceptsClients) != 0) {
    status_ = good_status_;
  }
}

void ScriptedAaad::release_answer(std::uint32_t type) {
  const bool registers = type == AAA_MSG_REGISTER_REQ;
  if (registers && ((flags_ & kAcceptsClients) != 0 || answers_.empty())) {
    answered_ = {good_registration_};
  } else if (type == AAA_MSG_DEREGISTER_REQ && (faults_ended_ || answers_.empty())) {
    answered_ = {traffic::deregister_answer().bytes()};
  } else if (!answers_.empty()) {
    std::move(answers_.front().begin(), answers_.front().end(), std::back_inserter(answered_));
    answers_.pop_front();
  }
}

ssize_t ScriptedAaad::recv(int fd, void* data, std::size_t size) {
  if (LocalPair::has(fd)) return pair_.recv(data, size);
  Socket& socket = socket_of(fd);
  const ssize_t count = fd == g_aaa_client_cb.sync_fd ? read_answer(socket, data, size)
                                                      : read_event(socket, data, size);
  if (count == 0) pass(kSecond);  // who asks a closed socket again and again comes to an end
  return count;
}

ssize_t ScriptedAaad::silence() {
  pass(kSocketTimeout);
  return fails(EAGAIN);
}

ssize_t ScriptedAaad::read_answer(Socket& socket, void* data, std::size_t size) {
  if (!answered_.empty()) {
    const ssize_t count = take(answered_.front(), data, size);
    if (answered_.front().empty()) answered_.pop_front();
    return count;
  }
  return socket.has_gone() ? 0 : silence();
}

ssize_t ScriptedAaad::read_event(Socket& socket, void* data, std::size_t size) {
  if (!status_.empty()) return take(status_, data, size);
  take_faults();
  if (read_error_) return fails(*std::exchange(read_error_, std::nullopt));
  if (socket.has_gone()) return 0;
  if (steps_.empty()) return silence();
  const ssize_t count = take(steps_.front().bytes, data, size);
  if (steps_.front().bytes.empty()) steps_.pop_front();
  return count;
}

int ScriptedAaad::poll(pollfd& watched, int timeout_ms) {
  watched.revents = watched.events;
  if (LocalPair::has(watched.fd)) {
    if (pair_.is_readable(watched.fd)) return 1;
    pass(static_cast<std::uint64_t>(timeout_ms) * 1000);
    return 0;
  }
  Socket& socket = socket_of(watched.fd);
  if (watched.events == POLLRDHUP) return socket.has_gone() ? 1 : 0;
  if (watched.fd == g_aaa_client_cb.sync_fd) return socket.has_gone() || !answered_.empty() ? 1 : 0;
  if (timeout_ms == 0) return socket.has_gone() || !is_over() ? 1 : 0;
  return wait_for_event(socket, timeout_ms);
}

int ScriptedAaad::wait_for_event(Socket& socket, int timeout_ms) {
  take_faults();
  if (read_error_) return fails(*std::exchange(read_error_, std::nullopt));
  if (is_over() && !socket.has_gone()) when_idle();
  if (socket.has_gone() || !is_over()) return 1;
  pass(static_cast<std::uint64_t>(timeout_ms) * 1000);
  return 0;
}

void ScriptedAaad::take_faults() {
  while (!steps_.empty() && steps_.front().kind != Kind::event && !read_error_) {
    take_fault(steps_.front());
    steps_.pop_front();
  }
}

void ScriptedAaad::take_fault(const Step& step) {
  switch (step.kind) {
    case Kind::close:
      close_event_socket(step.number % 2 != 0);
      break;
    case Kind::clock:
      pass(step.number * kSecond);
      break;
    case Kind::read_error:
      read_error_ = error_of(step.number);
      break;
    case Kind::write_error:
      write_error_ = error_of(step.number);
      break;
    case Kind::no_memory:
      no_memory_.emplace(1U + step.number % 16);
      break;
    case Kind::event:
    case Kind::answer:
    case Kind::more_answer:
      break;
  }
}

void ScriptedAaad::close_event_socket(bool both) {
  if (g_aaa_client_cb.async_fd >= 0) socket_of(g_aaa_client_cb.async_fd).closed_by_aaad = true;
  if (both && g_aaa_client_cb.sync_fd >= 0) {
    socket_of(g_aaa_client_cb.sync_fd).closed_by_aaad = true;
  }
}

}  // namespace fuzz
