#include "aaad_sim.h"

#include <pthread.h>
#include <signal.h>

#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include "backend/answers.h"
#include "radius/gateway.h"
#include "server/server.h"

namespace aaa_sim {
namespace {

Predicate matcher(Direction direction, std::uint32_t type, Role role) {
  return [=](const Message& message) {
    return message.direction == direction && message.header.type == type &&
           (role == Role::none || message.role == role);
  };
}

// Threads started in its lifetime inherit a mask that blocks all signals.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

Predicate received(std::uint32_t type, Role role) {
  return matcher(Direction::received, type, role);
}

Predicate sent(std::uint32_t type, Role role) {
  return matcher(Direction::sent, type, role);
}

class AaadSim::Impl {
 public:
  Impl(std::string path, Settings settings, Output output)
      : path_(std::move(path)), journal_(std::move(output)), backend_(std::move(settings)) {}

  const std::string& path() const { return path_; }
  Journal& journal() { return journal_; }

  void start() {
    const std::lock_guard lock(mutex_);
    if (running_) return;
    open_local_users();
    running_ = std::make_unique<Running>(path_, backend_, journal_);
    const SignalsBlocked blocked;
    thread_ = std::thread([loop = &running_->loop] { loop->run(); });
    ::pthread_setname_np(thread_.native_handle(), "aaad_sim");
  }

  void stop() {
    const std::lock_guard lock(mutex_);
    if (!running_) return;
    running_->loop.post([this] { running_->loop.quit(); });
    thread_.join();
    running_.reset();
  }

  void change(const std::function<void(Settings&)>& edit) {
    const std::lock_guard lock(mutex_);
    run_on_loop([&] {
      edit(backend_.settings);
      if (running_) running_->server.apply_settings();
    });
  }

  void with_backend(const std::function<void(Backend&)>& action) {
    const std::lock_guard lock(mutex_);
    run_on_loop([&] { action(backend_); });
  }

  // The result of `action`; 0 when no server runs.
  std::size_t with_server(const std::function<std::size_t(Server&)>& action) {
    const std::lock_guard lock(mutex_);
    std::size_t result = 0;
    run_on_loop([&] {
      if (running_) result = action(running_->server);
    });
    return result;
  }

 private:
  // What exists between start() and stop().
  struct Running {
    Running(const std::string& path, Backend& backend, Journal& journal)
        : server(loop, path, backend.settings, journal,
                 [this, &backend](const Request& request, const Respond& respond) {
                   const bool is_replaced = backend.settings.answers.contains(request.header.type);
                   if (!is_replaced && gateway && gateway->handle(request, respond)) return;
                   answer(backend, request, respond);
                 }) {
      if (backend.settings.radius.servers.empty()) return;
      gateway.emplace(
          loop, backend.settings.radius, backend.reports.radius,
          [&journal](const std::string& note) { journal.note(note); },
          [this](const ClientName& client, const EventMessage& message) {
            return server.send(client, Role::event,
                               make_frame(message.type, message.id, message.body)) != 0;
          });
    }

    EventLoop loop;
    Server server;
    std::optional<radius::Gateway> gateway;
  };

  // Looks up a user even if there is none to add, so that a bad file is reported at the start.
  void open_local_users() {
    LocalUsers& local_users = backend_.local_users;
    if (!backend_.settings.local_users_file.empty()) local_users.find("");
    for (const LocalUser& user : backend_.settings.local_users) {
      if (!local_users.find(user.name)) local_users.put(user);
    }
  }

  // Runs the task on the loop's thread while it runs, else here. Throws what the task throws.
  // REQUIRES: mutex_ is held.
  void run_on_loop(const std::function<void()>& task) {
    if (!running_) return task();
    const auto shared = std::make_shared<std::packaged_task<void()>>(task);
    std::future<void> done = shared->get_future();
    running_->loop.post([shared] { (*shared)(); });
    done.get();
  }

  const std::string path_;
  Journal journal_;

  std::mutex mutex_;  // never locked on the loop's thread
  std::thread thread_;
  // Used on the loop's thread while it runs, else guarded by mutex_.
  Backend backend_;
  std::unique_ptr<Running> running_;
};

AaadSim::AaadSim(const std::string& directory, Settings settings, Output output)
    : impl_(std::make_unique<Impl>(Listener::path_below(directory), std::move(settings),
                                   std::move(output))) {}

AaadSim::~AaadSim() {
  stop();
}

void AaadSim::start() {
  impl_->start();
}

void AaadSim::stop() {
  impl_->stop();
}

const std::string& AaadSim::socket_path() const {
  return impl_->path();
}

void AaadSim::change(const std::function<void(Settings&)>& edit) {
  impl_->change(edit);
}

Settings AaadSim::settings() {
  Settings copy;
  change([&](Settings& settings) { copy = settings; });
  return copy;
}

void AaadSim::add_user(User user) {
  change([&](Settings& settings) { settings.users.push_back(std::move(user)); });
}

void AaadSim::put_local_user(const LocalUser& user) {
  impl_->with_backend([&](Backend& backend) { backend.local_users.put(user); });
}

void AaadSim::set_answer(std::uint32_t type, Answerer answerer) {
  change([&](Settings& settings) { settings.answers[type] = std::move(answerer); });
}

void AaadSim::set_fault(Role role, std::uint32_t type, Fault fault) {
  change([=](Settings& settings) { settings.faults[{role, type}] = fault; });
}

std::size_t AaadSim::send_message(const ClientName& client, Role role, std::uint32_t type,
                                  std::uint32_t id, View body) {
  return impl_->with_server(
      [&](Server& server) { return server.send(client, role, make_frame(type, id, body)); });
}

std::size_t AaadSim::send(const ClientName& client, const EventMessage& message) {
  return send_message(client, Role::event, message.type, message.id, message.body);
}

std::size_t AaadSim::send_raw(const ClientName& client, Role role, View bytes) {
  return impl_->with_server([&](Server& server) { return server.send_raw(client, role, bytes); });
}

std::size_t AaadSim::send_status(const ClientName& client) {
  return send_message(client, Role::event, AAA_MSG_AAA_INFO_READY, 0,
                      encode_status(settings().status));
}

std::size_t AaadSim::close_connections(const ClientName& client, Role role) {
  return impl_->with_server([&](Server& server) { return server.close_connections(client, role); });
}

std::vector<ClientName> AaadSim::clients() {
  return impl_->journal().connected().clients;
}

bool AaadSim::wait_for_clients(std::size_t count, Milliseconds timeout) {
  return impl_->journal().wait_for_connected(
      [=](const Journal::Connected& connected) { return connected.clients.size() == count; },
      timeout);
}

bool AaadSim::wait_for_connections(std::size_t count, Milliseconds timeout) {
  return impl_->journal().wait_for_connected(
      [=](const Journal::Connected& connected) { return connected.open == count; }, timeout);
}

std::size_t AaadSim::accepted_connections() {
  return impl_->journal().connected().accepted;
}

std::vector<Message> AaadSim::messages() {
  return impl_->journal().messages();
}

std::size_t AaadSim::count(const Predicate& predicate) {
  return impl_->journal().count(predicate);
}

std::optional<Message> AaadSim::wait_for_message(const Predicate& predicate, Milliseconds timeout,
                                                 std::size_t skip) {
  return impl_->journal().wait_for_message(predicate, skip, timeout);
}

bool AaadSim::wait_for_note(const std::string& text, Milliseconds timeout) {
  return impl_->journal().wait_for_note(text, timeout);
}

Reports AaadSim::reports() {
  Reports copy;
  impl_->with_backend([&](Backend& backend) { copy = backend.reports; });
  return copy;
}

std::optional<LocalUser> AaadSim::local_user(const std::string& name) {
  std::optional<LocalUser> user;
  impl_->with_backend([&](Backend& backend) { user = backend.local_users.find(name); });
  return user;
}

void AaadSim::clear_messages() {
  impl_->journal().clear();
}

}  // namespace aaa_sim
