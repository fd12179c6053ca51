#include "fuzz/link/played_aaad.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "aaa_client.h"
#include "fuzz/touch.h"

namespace fuzz {
namespace {

constexpr int kFirstSocket = 1000;
constexpr std::uint64_t kSecond = 1000000;
constexpr std::uint64_t kSocketTimeout = 2 * kSecond;

thread_local PlayedAaad* playing = nullptr;

int error_of(std::uint16_t number) {
  constexpr std::array errors = {EINTR,    EAGAIN,   EPIPE,     ECONNRESET, EBADF,
                                 ENOTSOCK, ENOTCONN, ETIMEDOUT, ENETDOWN,   EOPNOTSUPP,
                                 EFAULT,   ENOMEM,   ENOBUFS,   EIO};
  return errors[number % errors.size()];
}

int fails(int error) {
  errno = error;
  return -1;
}

Bytes frame(std::uint32_t type, std::initializer_list<std::uint32_t> body) {
  std::vector<std::uint32_t> words = {0x01010101, 0, type,
                                      static_cast<std::uint32_t>(4 * body.size())};
  words.insert(words.end(), body);
  const auto* const first = reinterpret_cast<const std::uint8_t*>(words.data());
  return Bytes(first, first + 4 * words.size());
}

const Bytes& good_registration() {
  static const Bytes bytes = frame(AAA_MSG_REGISTER_RESP, {7});
  return bytes;
}
const Bytes& good_welcome() {
  static const Bytes bytes = frame(AAA_MSG_AAA_INFO_READY, {1, 2, 1, 0, 0, 1, 1, 1, 1, 64});
  return bytes;
}
const Bytes& good_farewell() {
  static const Bytes bytes = frame(AAA_MSG_DEREGISTER_RESP, {});
  return bytes;
}

std::uint32_t type_of(const void* message, std::size_t size) {
  std::uint32_t type = 0;
  require(size >= 16);
  std::memcpy(&type, static_cast<const char*>(message) + 8, sizeof type);
  return type;
}

// Takes up to `size` bytes from the front of `from`.
ssize_t take(Bytes& from, void* data, std::size_t size) {
  const std::size_t count = std::min(size, from.size());
  std::memcpy(data, from.data(), count);
  from.erase(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(count));
  return static_cast<ssize_t>(count);
}

}  // namespace

PlayedAaad::PlayedAaad(Script script) : flags_(script.flags) {
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

PlayedAaad::~PlayedAaad() {
  playing = nullptr;
}

PlayedAaad* PlayedAaad::on_this_thread() {
  return playing;
}

PlayedAaad::Socket& PlayedAaad::socket_of(int fd) {
  require(fd >= kFirstSocket);
  Socket& socket = sockets_.at(static_cast<std::size_t>(fd - kFirstSocket));
  require(socket.open);
  return socket;
}

std::size_t PlayedAaad::open_sockets() const {
  return static_cast<std::size_t>(
      std::count_if(sockets_.begin(), sockets_.end(), [](const Socket& one) { return one.open; }));
}

int PlayedAaad::socket() {
  if (is_over()) when_over_();
  answered_.clear();
  sockets_.emplace_back();
  return kFirstSocket + static_cast<int>(sockets_.size()) - 1;
}

int PlayedAaad::shutdown(int fd) {
  socket_of(fd).shut_down = true;
  return 0;
}

int PlayedAaad::close(int fd) {
  socket_of(fd).open = false;
  return 0;
}

void PlayedAaad::become_peaceful() {
  peaceful_ = true;
  write_error_.reset();
  no_memory_.reset();
  answers_.clear();
}

ssize_t PlayedAaad::send(int fd, const void* data, std::size_t size) {
  touch(data, size);
  if (LocalPair::has(fd)) return pair_.send(data, size);
  if (socket_of(fd).has_gone()) return fails(EPIPE);
  if (write_error_) return fails(*std::exchange(write_error_, std::nullopt));
  take_write(fd, type_of(data, size));
  return static_cast<ssize_t>(size);
}

void PlayedAaad::take_write(int fd, std::uint32_t type) {
  if (fd == g_aaa_client_cb.sync_fd) {
    if (type != AAA_MSG_HEARTBEAT) release_answer(type);
  } else if (type == AAA_MSG_REGISTER_REQ && (flags_ & kAcceptsClients) != 0) {
    welcome_ = good_welcome();
  }
}

void PlayedAaad::release_answer(std::uint32_t type) {
  const bool registers = type == AAA_MSG_REGISTER_REQ;
  if (registers && ((flags_ & kAcceptsClients) != 0 || answers_.empty())) {
    answered_ = {good_registration()};
  } else if (type == AAA_MSG_DEREGISTER_REQ && (peaceful_ || answers_.empty())) {
    answered_ = {good_farewell()};
  } else if (!answers_.empty()) {
    std::move(answers_.front().begin(), answers_.front().end(), std::back_inserter(answered_));
    answers_.pop_front();
  }
}

ssize_t PlayedAaad::recv(int fd, void* data, std::size_t size) {
  if (LocalPair::has(fd)) return pair_.recv(data, size);
  Socket& socket = socket_of(fd);
  const ssize_t count = fd == g_aaa_client_cb.sync_fd ? read_answer(socket, data, size)
                                                      : read_event(socket, data, size);
  if (count == 0) pass(kSecond);  // who asks a closed socket again and again comes to an end
  return count;
}

ssize_t PlayedAaad::silence() {
  pass(kSocketTimeout);
  return fails(EAGAIN);
}

ssize_t PlayedAaad::read_answer(Socket& socket, void* data, std::size_t size) {
  if (!answered_.empty()) {
    const ssize_t count = take(answered_.front(), data, size);
    if (answered_.front().empty()) answered_.pop_front();
    return count;
  }
  return socket.has_gone() ? 0 : silence();
}

ssize_t PlayedAaad::read_event(Socket& socket, void* data, std::size_t size) {
  if (!welcome_.empty()) return take(welcome_, data, size);
  take_faults();
  if (read_error_) return fails(*std::exchange(read_error_, std::nullopt));
  if (socket.has_gone()) return 0;
  if (steps_.empty()) return silence();
  const ssize_t count = take(steps_.front().bytes, data, size);
  if (steps_.front().bytes.empty()) steps_.pop_front();
  return count;
}

int PlayedAaad::poll(pollfd& watched, int timeout_ms) {
  watched.revents = watched.events;
  if (LocalPair::has(watched.fd)) {
    if (pair_.is_readable(watched.fd)) return 1;
    pass(static_cast<std::uint64_t>(timeout_ms) * 1000);
    return 0;
  }
  Socket& socket = socket_of(watched.fd);
  if (watched.events == POLLRDHUP) return socket.has_gone() ? 1 : 0;
  if (watched.fd == g_aaa_client_cb.sync_fd) return socket.has_gone() || !answered_.empty() ? 1 : 0;
  return wait_for_event(socket, timeout_ms);
}

int PlayedAaad::wait_for_event(Socket& socket, int timeout_ms) {
  take_faults();
  if (read_error_) return fails(*std::exchange(read_error_, std::nullopt));
  if (socket.has_gone() || !is_over()) return 1;
  when_over_();
  pass(static_cast<std::uint64_t>(timeout_ms) * 1000);
  return 0;
}

void PlayedAaad::take_faults() {
  while (!steps_.empty() && steps_.front().kind != Kind::event && !read_error_) {
    take_fault(steps_.front());
    steps_.pop_front();
  }
}

void PlayedAaad::take_fault(const Step& step) {
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

void PlayedAaad::close_event_socket(bool both) {
  if (g_aaa_client_cb.async_fd >= 0) socket_of(g_aaa_client_cb.async_fd).closed_by_aaad = true;
  if (both && g_aaa_client_cb.sync_fd >= 0) {
    socket_of(g_aaa_client_cb.sync_fd).closed_by_aaad = true;
  }
}

}  // namespace fuzz
