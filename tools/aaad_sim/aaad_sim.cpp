#include "aaad_sim.h"

#include <pthread.h>
#include <signal.h>

#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include "journal.h"
#include "server.h"

namespace aaa_sim {
namespace {

Predicate matcher(Direction direction, std::uint32_t type, Role role) {
  return [=](const Message& message) {
    return message.direction == direction && message.header.type == type &&
           (role == Role::none || message.role == role);
  };
}

// Threads started meanwhile take no signals.
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
      : path_(std::move(path)),
        settings_(std::move(settings)),
        local_users_(settings_.local_users_file),
        journal_(std::move(output)) {}

  const std::string& path() const { return path_; }
  Journal& journal() { return journal_; }

  void start() {
    const std::lock_guard lock(mutex_);
    if (server_) return;
    open_local_users();
    server_ = std::make_unique<Server>(path_, world(), journal_);
    const SignalsBlocked blocked;
    thread_ = std::thread([server = server_.get()] { server->run(); });
    ::pthread_setname_np(thread_.native_handle(), "aaad_sim");
  }

  void stop() {
    const std::lock_guard lock(mutex_);
    if (!server_) return;
    server_->post([this] { server_->quit(); });
    thread_.join();
    server_.reset();
  }

  void change(const std::function<void(Settings&)>& edit) {
    const std::lock_guard lock(mutex_);
    run_in_turn([&] {
      edit(settings_);
      if (server_) server_->apply_settings();
    });
  }

  void with_world(const std::function<void(World&)>& action) {
    const std::lock_guard lock(mutex_);
    run_in_turn([&] {
      World all = world();
      action(all);
    });
  }

  // What `action` makes of the server; 0 when it does not run.
  std::size_t with_server(const std::function<std::size_t(Server&)>& action) {
    const std::lock_guard lock(mutex_);
    std::size_t result = 0;
    run_in_turn([&] {
      if (server_) result = action(*server_);
    });
    return result;
  }

 private:
  World world() { return {settings_, memory_, local_users_}; }

  // A file is opened even when nobody asks for a user: mistakes show at the start.
  void open_local_users() {
    if (!settings_.local_users_file.empty()) local_users_.find("");
    for (const LocalUser& user : settings_.local_users) {
      if (!local_users_.find(user.name)) local_users_.put(user);
    }
  }

  // While the server runs, all it uses belongs to its thread: the task runs there, and what it
  // throws is thrown here. REQUIRES: mutex_ is held.
  void run_in_turn(const std::function<void()>& task) {
    if (!server_) return task();
    const auto shared = std::make_shared<std::packaged_task<void()>>(task);
    std::future<void> done = shared->get_future();
    server_->post([shared] { (*shared)(); });
    done.get();
  }

  const std::string path_;
  // Of the server's thread while it runs, else guarded by mutex_.
  Settings settings_;
  Memory memory_;
  LocalUsers local_users_;
  Journal journal_;

  std::mutex mutex_;  // never taken by the server's thread
  std::unique_ptr<Server> server_;
  std::thread thread_;
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
  impl_->with_world([&](World& world) { world.local_users.put(user); });
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
  return impl_->journal().presence().clients;
}

bool AaadSim::wait_for_clients(std::size_t count, Milliseconds patience) {
  return impl_->journal().wait_for_presence(
      [=](const Journal::Presence& presence) { return presence.clients.size() == count; },
      patience);
}

bool AaadSim::wait_for_connections(std::size_t count, Milliseconds patience) {
  return impl_->journal().wait_for_presence(
      [=](const Journal::Presence& presence) { return presence.connections == count; }, patience);
}

std::size_t AaadSim::accepted_connections() {
  return impl_->journal().presence().accepted;
}

std::vector<Message> AaadSim::messages() {
  return impl_->journal().messages();
}

std::size_t AaadSim::count(const Predicate& predicate) {
  return impl_->journal().count(predicate);
}

std::optional<Message> AaadSim::wait_for_message(const Predicate& predicate, Milliseconds patience,
                                                 std::size_t skip) {
  return impl_->journal().wait_for_message(predicate, skip, patience);
}

bool AaadSim::wait_for_note(const std::string& text, Milliseconds patience) {
  return impl_->journal().wait_for_note(text, patience);
}

Memory AaadSim::memory() {
  Memory copy;
  impl_->with_world([&](World& world) { copy = world.memory; });
  return copy;
}

std::optional<LocalUser> AaadSim::local_user(const std::string& name) {
  std::optional<LocalUser> user;
  impl_->with_world([&](World& world) { user = world.local_users.find(name); });
  return user;
}

void AaadSim::clear_messages() {
  impl_->journal().clear();
}

}  // namespace aaa_sim
