#include "soak/stub_aaad.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "support/eventually.h"

namespace soak {
namespace {

using aaa_sim::Bytes;
using aaa_sim::FileDescriptor;
using aaa_sim::Frame;

constexpr int look_again_ms = 2;
constexpr std::chrono::milliseconds client_gives_up{50};

FileDescriptor listen_below(const std::string& directory) {
  const std::string folder = directory + "/security/aaa";
  const std::string name = folder + "/.aaa_domain_socket_fs";
  std::filesystem::create_directories(folder);
  std::filesystem::remove(name);
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  name.copy(address.sun_path, sizeof address.sun_path - 1);
  FileDescriptor listener =
      aaa_sim::checked(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
  if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), 8) != 0)
    throw std::system_error(errno, std::generic_category(), name);
  return listener;
}

// Returns whether the client took part of it or all.
bool write_some(int fd, const std::uint8_t* bytes, std::size_t size, std::size_t& written) {
  const ssize_t n = ::send(fd, bytes, size, MSG_NOSIGNAL);
  if (n > 0) written += static_cast<std::size_t>(n);
  return n > 0;
}

void write_all(int fd, const Bytes& bytes, std::size_t at_a_time) {
  std::size_t written = 0;
  while (written < bytes.size() &&
         write_some(fd, bytes.data() + written, std::min(at_a_time, bytes.size() - written),
                    written)) {
  }
}

bool everything_was_read_from(int fd) {
  int waiting = 0;
  return ::ioctl(fd, SIOCOUTQ, &waiting) != 0 || waiting == 0;
}

bool is_event_registration(const Frame& request) {
  return request.header.type == AAA_MSG_REGISTER_REQ && !request.body.empty() &&
         request.body[0] == '2';
}

Frame status() {
  return aaa_sim::make_frame(AAA_MSG_AAA_INFO_READY, 0, aaa_sim::encode_status({}));
}

}  // namespace

StubAaad::StubAaad(const std::string& directory, Answers answers, std::function<void()> pass_time)
    : answers_(std::move(answers)),
      pass_time_(std::move(pass_time)),
      listener_(listen_below(directory)),
      thread_([this] { run(); }) {}

StubAaad::~StubAaad() {
  stopping_ = true;
  thread_.join();
}

void StubAaad::behave(Manner manner) {
  manner_ = manner;
  const std::size_t before = passes_;
  test::eventually([&] { return passes_ > before; }, std::chrono::milliseconds(1000));
}

void StubAaad::run() {
  while (!stopping_) {
    if (manner_ == Manner::never_reads)
      std::this_thread::sleep_for(std::chrono::milliseconds(look_again_ms));
    else
      serve_what_is_ready();
    ++passes_;
  }
}

void StubAaad::serve_what_is_ready() {
  std::vector<pollfd> ready = {{listener_.get(), POLLIN, 0}};
  for (const Connection& connection : connections_)
    ready.push_back({connection.fd.get(), POLLIN, 0});
  if (::poll(ready.data(), ready.size(), look_again_ms) <= 0) return;
  if (ready[0].revents != 0)
    accept();
  else
    serve(std::ranges::find_if(ready, [](const pollfd& one) { return one.revents != 0; })->fd);
}

void StubAaad::accept() {
  FileDescriptor fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (fd.is_open()) connections_.push_back({std::move(fd), accepted_++ / 2});
}

void StubAaad::serve(int fd) {
  Frame request;
  if (!read_all(fd, &request.header, sizeof request.header)) return send_away(fd);
  if (request.header.marker != aaa_sim::kMarker) return send_away(fd);
  request.body.resize(request.header.length);
  if (!read_all(fd, request.body.data(), request.body.size())) return send_away(fd);
  if (is_event_registration(request)) return write_all(fd, aaa_sim::to_bytes(status()), SIZE_MAX);
  give(fd, answer_to(request));
}

// Closes both connections of the client.
void StubAaad::send_away(int fd) {
  std::erase_if(connections_, [client = client_of(fd)](const Connection& connection) {
    return connection.client == client;
  });
}

std::size_t StubAaad::client_of(int fd) const {
  return std::ranges::find(connections_, fd, [](const Connection& one) { return one.fd.get(); })
      ->client;
}

bool StubAaad::read_all(int fd, void* to, std::size_t size) const {
  auto* next = static_cast<char*>(to);
  while (size > 0) {
    const ssize_t n = ::read(fd, next, manner_ == Manner::reads_byte_wise ? 1 : size);
    if (n <= 0) return false;
    next += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

Frame StubAaad::answer_to(const Frame& request) const {
  if (request.header.type == AAA_MSG_REGISTER_REQ)
    return aaa_sim::make_frame(AAA_MSG_REGISTER_RESP, 0, Bytes{1, 0, 0, 0});
  const auto found = answers_.find(request.header.type);
  return found == answers_.end() ? Frame{} : found->second;
}

void StubAaad::give(int fd, Frame answer) {
  if (answer.header.marker == 0) return;
  Bytes bytes = aaa_sim::to_bytes(answer);
  const std::size_t body_end = bytes.size() - (answer.body.empty() ? 0 : 1);
  switch (manner_) {
    case Manner::good:
    case Manner::reads_byte_wise:
    case Manner::never_reads:
      return write_all(fd, bytes, SIZE_MAX);
    case Manner::writes_byte_wise:
      return write_all(fd, bytes, 1);
    case Manner::trickles:
      return trickle(fd, bytes);
    case Manner::never_writes:
      return;
    case Manner::stops_in_header:
      return write_all(fd, {bytes.begin(), bytes.begin() + 9}, SIZE_MAX);
    case Manner::stops_in_body:
      bytes.resize(body_end);
      return write_all(fd, bytes, SIZE_MAX);
    case Manner::other_type:
      answer.header.type = AAA_MSG_NOTIFY_RESULT;
      return write_all(fd, aaa_sim::to_bytes(answer), SIZE_MAX);
    case Manner::other_id:
      answer.header.id = 77;
      return write_all(fd, aaa_sim::to_bytes(answer), SIZE_MAX);
    case Manner::other_marker:
      answer.header.marker = 0;
      return write_all(fd, aaa_sim::to_bytes(answer), SIZE_MAX);
    case Manner::other_socket:
      return write_all(other_connection(fd), bytes, SIZE_MAX);
    case Manner::closes:
      return send_away(fd);
  }
}

void StubAaad::trickle(int fd, const Bytes& bytes) const {
  std::size_t written = 0;
  while (written < bytes.size() && manner_ == Manner::trickles &&
         write_some(fd, bytes.data() + written, 1, written) &&
         test::eventually([fd] { return everything_was_read_from(fd); }, client_gives_up))
    pass_time_();
}

int StubAaad::other_connection(int fd) const {
  for (const Connection& connection : connections_)
    if (connection.client == client_of(fd) && connection.fd.get() != fd) return connection.fd.get();
  return -1;
}

}  // namespace soak
