// A stand-in for aaad, the daemon that clients of the AAA client library talk to.
//
// It listens where aaad does, registers clients, grants session ids, answers requests about users,
// answers heartbeats, and records every message. Its answers can be replaced by message type, made
// faulty, delayed or left out.
//
//   aaa_sim::AaadSim sim(tmpdir);
//   sim.add_user({.name = "alice", .password = "secret"});
//   sim.start();
//   ... register a client whose TMPDIR is the same directory ...
//   sim.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::silent);
//   ASSERT_TRUE(sim.wait_for_message(received(AAA_MSG_AUTHEN_REQ)));
//
// aaad-sim's convention for the plain fields: a request's user name is authen_info.chars65_a and
// its password the item user_password. A result's sub.num_a is 0 accepted, 1 rejected, 3
// challenge, 4 no server answered (2, a lost link, is the client library's own), its sub.num_b the
// session timeout, its sub.chars65_a the user name. The other messages are described in
// backend/queries.h, backend/report_requests.h and backend/local_user_requests.h, the records in
// wire/ldap.h and wire/local_user.h. A malformed body gets a note and no answer.
//
// All functions are thread-safe. The simulator runs on a thread of its own, which blocks all
// signals and reads the kernel's clock. Tests link it as a shared library with a copy of the codec:
// replaced calls, clocks and allocations of the client library in the process do not affect it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backend/reports.h"
#include "backend/settings.h"
#include "server/journal.h"
#include "wire/event_messages.h"
#include "wire/message.h"

namespace aaa_sim {

// Messages of one type, on any connection or on the one named.
Predicate received(std::uint32_t type, Role role = Role::none);
Predicate sent(std::uint32_t type, Role role = Role::none);

class AaadSim {
 public:
  using Milliseconds = std::chrono::milliseconds;

  static constexpr Milliseconds kTimeout{5000};

  // `directory` is the TMPDIR of the clients.
  explicit AaadSim(const std::string& directory, Settings settings = {}, Output output = {});
  ~AaadSim();
  AaadSim(const AaadSim&) = delete;
  AaadSim& operator=(const AaadSim&) = delete;

  // Listens on return. Throws std::system_error when it cannot, for example because another process
  // does, and DatabaseError when the file of local users cannot be opened.
  void start();
  // Closes all sockets and removes the socket file. Keeps settings, messages and reports; start()
  // may follow.
  void stop();

  const std::string& socket_path() const;

  // ---- Settings. In effect on return; may be changed before start(). ----

  void change(const std::function<void(Settings&)>& edit);
  Settings settings();

  void add_user(User user);
  // Adds or replaces a local user. Throws DatabaseError.
  void put_local_user(const LocalUser& user);
  void set_answer(std::uint32_t type, Answerer answerer);
  void set_fault(Role role, std::uint32_t type, Fault fault);

  // ---- Unsolicited messages. Return to how many registered connections they were sent. ----

  std::size_t send_message(const ClientName& client, Role role, std::uint32_t type,
                           std::uint32_t id, View body = {});
  // On the event connection.
  std::size_t send(const ClientName& client, const EventMessage& message);
  // Arbitrary bytes, such as wrong markers or half a header. Recorded as a note only.
  std::size_t send_raw(const ClientName& client, Role role, View bytes);
  // The current status words, on the event connection.
  std::size_t send_status(const ClientName& client = {});

  // Closes at once; with no client named also connections that have not registered. Returns how
  // many.
  std::size_t close_connections(const ClientName& client = {}, Role role = Role::none);

  // ---- What happened so far. The waits return after `timeout` at the latest. ----

  // Clients that have registered both connections. The waits are for exactly `count`.
  std::vector<ClientName> clients();
  bool wait_for_clients(std::size_t count, Milliseconds timeout = kTimeout);
  // Open connections, registered or not.
  bool wait_for_connections(std::size_t count, Milliseconds timeout = kTimeout);
  // Connections accepted since construction.
  std::size_t accepted_connections();

  std::vector<Message> messages();
  std::size_t count(const Predicate& predicate);
  // The first match after `skip` others, already recorded or still to come.
  std::optional<Message> wait_for_message(const Predicate& predicate,
                                          Milliseconds timeout = kTimeout, std::size_t skip = 0);
  // A note that contains `text`, such as "bad marker" before a connection is closed.
  bool wait_for_note(const std::string& text, Milliseconds timeout = kTimeout);
  // Includes every message that a wait has returned.
  Reports reports();
  // Throws DatabaseError.
  std::optional<LocalUser> local_user(const std::string& name);

  // Clears messages and notes, not reports.
  void clear_messages();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace aaa_sim
