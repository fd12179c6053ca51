#include "tap.h"

#include <sys/epoll.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace aaa_dissect {
namespace {

constexpr std::chrono::milliseconds kRetryInterval{10};
// For what has been read, when a receiver does not read.
constexpr std::chrono::seconds kTimeToEnd{5};

aaa_sim::FileDescriptor termination_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return aaa_sim::checked(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK), "signalfd");
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

bool Tap::run() {
  loop_.run();
  std::size_t left = 0;
  for (auto& [id, link] : links_) {
    link.show_rest();
    left += link.output_size();
  }
  if (left != 0) complain_(std::to_string(left) + " bytes were read and could not be forwarded");
  return left == 0;
}

// Out of descriptors: those that wait have to wait longer.
void Tap::accept() {
  aaa_sim::FileDescriptor client = listener_->accept();
  if (client.is_open()) {
    waiting_.push_back(std::move(client));
    return connect_waiting();
  }
  if (errno != EMFILE && errno != ENFILE) return;
  loop_.set_events(listener_->fd(), 0);
  retry_.set_once(kRetryInterval);
}

void Tap::connect_waiting() {
  retry_.acknowledge();
  std::vector<aaa_sim::FileDescriptor> clients = std::exchange(waiting_, {});
  for (aaa_sim::FileDescriptor& client : clients)
    if (!connect(client)) waiting_.push_back(std::move(client));
  if (!waiting_.empty()) retry_.set_once(kRetryInterval);
  if (listener_) loop_.set_events(listener_->fd(), EPOLLIN);
}

// False when the daemon has to be asked again. A client that cannot be connected is closed: it
// tries again by itself.
bool Tap::connect(aaa_sim::FileDescriptor& client) {
  aaa_sim::FileDescriptor daemon = aaa_sim::Listener::connect(daemon_path_);
  const bool is_connected = daemon.is_open();
  const int error = errno;
  if (!is_connected && error == EAGAIN) return false;
  if (is_connected) add(std::move(client), std::move(daemon));
  if (!is_connected && !is_daemon_missing_)
    complain_("no connection to " + daemon_path_ + ": " + std::strerror(error));
  is_daemon_missing_ = !is_connected;
  return true;
}

void Tap::add(aaa_sim::FileDescriptor client, aaa_sim::FileDescriptor daemon) {
  const std::uint64_t id = ++last_id_;
  links_.try_emplace(
      id, loop_, std::move(client), std::move(daemon),
      [this, id](const aaa_capture::Interface& interface, aaa_capture::Packet packet,
                 aaa_capture::Form form) {
        if (!show_(id, interface, std::move(packet), form)) loop_.post([this] { end(); });
      },
      [this, id](std::size_t side, std::uint32_t events) { on_ready(id, side, events); });
}

void Tap::on_ready(std::uint64_t id, std::size_t side, std::uint32_t events) {
  const auto found = links_.find(id);
  if (found == links_.end() || found->second.handle(side, events)) return;
  links_.erase(found);
  if (!listener_ && links_.empty()) loop_.quit();
}

void Tap::end() {
  if (!listener_) return;
  signalfd_siginfo signal;
  (void)::read(signals_.get(), &signal, sizeof signal);
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
