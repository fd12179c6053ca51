#include "tap.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace aaa_dissect {
namespace {

constexpr std::chrono::milliseconds kRetryInterval{10};
// For receivers that do not read, while nothing else is left to do.
constexpr std::chrono::seconds kTimeToEnd{2};

aaa_sim::FileDescriptor termination_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return aaa_sim::checked(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK), "signalfd");
}

bool is_out_of_descriptors(int error) {
  return error == EMFILE || error == ENFILE;
}

bool is_readable(int fd) {
  pollfd wait{fd, POLLIN, 0};
  return ::poll(&wait, 1, 0) == 1;
}

}  // namespace

Tap::Tap(const std::string& directory, const std::string& daemon_directory, Show show,
         Complaint complain)
    : path_(aaa_sim::Listener::path_below(directory)),
      daemon_path_(aaa_sim::Listener::path_below(daemon_directory)),
      show_(std::move(show)),
      complain_(std::move(complain)),
      signals_(termination_signals()),
      listener_(std::in_place, path_) {
  loop_.watch(signals_.get(), EPOLLIN, [this](std::uint32_t) { end(); });
  loop_.watch(retry_.fd(), EPOLLIN, [this](std::uint32_t) { connect_waiting(); });
  loop_.watch(deadline_.fd(), EPOLLIN, [this](std::uint32_t) { loop_.quit(); });
  loop_.watch(listener_->fd(), EPOLLIN, [this](std::uint32_t) { accept(); });
}

// Only the error is waited for. A file, which has none, cannot be watched.
void Tap::end_with(int pipe) {
  try {
    loop_.watch(pipe, 0, [this, pipe](std::uint32_t) {
      loop_.forget(pipe);
      end();
    });
  } catch (const std::system_error& error) {
    if (error.code().value() != EPERM) throw;
  }
}

bool Tap::run() {
  loop_.run();
  for (auto& [id, link] : links_) {
    link.show_rest();
    left_ += link.left();
  }
  if (left_ != 0) complain_(std::to_string(left_) + " bytes were read and could not be forwarded");
  return left_ == 0;
}

// Without descriptors, clients wait until others have ended.
void Tap::accept() {
  aaa_sim::FileDescriptor client = listener_->accept();
  const int error = errno;
  if (client.is_open()) {
    waiting_.push_back({std::move(client)});
    return connect_waiting();
  }
  if (!is_out_of_descriptors(error)) return;
  report(error);
  loop_.set_events(listener_->fd(), 0);
  retry_.set_once(kRetryInterval);
}

void Tap::connect_waiting() {
  retry_.acknowledge();
  const std::uint64_t connected_before = last_id_;
  for (Waiting& waiting : std::exchange(waiting_, {}))
    if (!connect(waiting)) waiting_.push_back(std::move(waiting));
  if (!waiting_.empty()) retry_.set_once(kRetryInterval);
  const bool is_connected = last_id_ != connected_before;
  if (is_connected && waiting_.empty() && !is_readable(listener_->fd())) reported_ = 0;
  if (listener_) loop_.set_events(listener_->fd(), EPOLLIN);
}

// False when the daemon has to be asked again. A client that cannot be connected is closed: it
// tries again by itself.
bool Tap::connect(Waiting& waiting) {
  int error = 0;
  try {
    aaa_sim::FileDescriptor daemon = connect_process(waiting);
    error = errno;
    if (daemon.is_open()) {
      add(waiting, std::move(daemon));
      return true;
    }
  } catch (const std::system_error& failure) {
    error = failure.code().value();
  }
  if (error == EAGAIN) return false;
  report(error);
  return !is_out_of_descriptors(error);
}

// From the client's process, or from another one if that was killed.
aaa_sim::FileDescriptor Tap::connect_process(Waiting& waiting) {
  const pid_t client = aaa_sim::peer_pid(waiting.client.get());
  if (!waiting.connector) waiting.connector = connector_of(client);
  aaa_sim::FileDescriptor daemon = waiting.connector->connect();
  if (daemon.is_open() || errno != ECONNABORTED) return daemon;
  if (connectors_[client].lock() == waiting.connector) connectors_.erase(client);
  waiting.connector = connector_of(client);
  return waiting.connector->connect();
}

std::shared_ptr<Connector> Tap::connector_of(pid_t client) {
  std::weak_ptr<Connector>& known = connectors_[client];
  std::shared_ptr<Connector> connector = known.lock();
  if (!connector) known = connector = std::make_shared<Connector>(daemon_path_);
  return connector;
}

void Tap::report(int error) {
  if (std::exchange(reported_, error) != error)
    complain_("no connection to " + daemon_path_ + ": " + std::strerror(error));
}

void Tap::add(Waiting& waiting, aaa_sim::FileDescriptor daemon) {
  const std::uint64_t id = ++last_id_;
  links_.try_emplace(
      id, loop_, std::move(waiting.client), std::move(daemon), std::move(waiting.connector),
      [this, id](const aaa_capture::Interface& interface, aaa_capture::Packet packet,
                 aaa_capture::Form form) {
        if (!show_(id, interface, std::move(packet), form)) loop_.post([this] { end(); });
      },
      [this, id](std::size_t side, std::uint32_t events) { on_ready(id, side, events); });
}

void Tap::on_ready(std::uint64_t id, std::size_t side, std::uint32_t events) {
  if (!listener_) deadline_.set_once(kTimeToEnd);
  const auto found = links_.find(id);
  if (found == links_.end() || found->second.handle(side, events)) return;
  left_ += found->second.left();
  links_.erase(found);
  std::erase_if(connectors_, [](const auto& entry) { return entry.second.expired(); });
  if (!listener_ && links_.empty()) loop_.quit();
}

void Tap::end() {
  if (!listener_) return;
  loop_.forget(signals_.get());
  loop_.forget(listener_->fd());
  listener_.reset();
  waiting_.clear();
  for (auto& [id, link] : links_)
    link.end();
  if (links_.empty()) loop_.quit();
  deadline_.set_once(kTimeToEnd);
}

}  // namespace aaa_dissect
