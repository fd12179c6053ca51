// A stand-in for aaad, the daemon that the AAA client library talks to.
//
// It listens where aaad does, registers clients, grants session ids, answers requests about users
// from a list, keeps heartbeats, and records every message. What it answers can be replaced by
// message type, spoilt, delayed or withheld.
//
//   aaa_sim::AaadSim sim(tmpdir);
//   sim.add_user({.name = "alice", .password = "secret"});
//   sim.start();
//   ... register a client whose TMPDIR is the same directory ...
//   sim.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::silent);
//   ASSERT_TRUE(sim.wait_for_message(received(AAA_MSG_AUTHEN_REQ)));
//
// Clients and aaad agree on what the plain fields mean. This is aaad-sim's convention: a request's
// user name is authen_info.chars65_a and its password the user_password item. A result's sub.num_a
// is 0 accept, 1 reject, 3 challenge (2, a lost link, is written by the client library itself), its
// sub.num_b the session timeout, its sub.chars65_a the user name. What is made of other messages
// stands with their answers, in remembered.h, questions.h and local_user_requests.h, and with the
// records, in local_user.h, directory.h and ldap_records.h. A body that cannot be read is answered
// with a remark only.
//
// Any thread may call any function. The simulator runs on a thread of its own, which takes no
// signals and keeps its own time. As the library that tests link it shares nothing with a client
// library in the process: what is done to the one's clock, calls and allocations does not reach
// the other.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "event_messages.h"
#include "memory.h"
#include "message.h"
#include "settings.h"

namespace aaa_sim {

// Messages of one type, on either connection or on the one named.
Predicate received(std::uint32_t type, Role role = Role::none);
Predicate sent(std::uint32_t type, Role role = Role::none);

class AaadSim {
 public:
  using Milliseconds = std::chrono::milliseconds;

  static constexpr Milliseconds kPatience{5000};

  // `directory` is what TMPDIR is for the clients.
  explicit AaadSim(const std::string& directory, Settings settings = {}, Output output = {});
  ~AaadSim();
  AaadSim(const AaadSim&) = delete;
  AaadSim& operator=(const AaadSim&) = delete;

  // Listens when it returns. Throws std::system_error when it cannot, as when somebody else does,
  // and DatabaseError when the file of local users cannot be used.
  void start();
  // Closes everything and removes the socket file. Settings and records stay; start() may follow.
  void stop();

  const std::string& socket_path() const;

  // ---- What it does. In force when the call returns; may be called before start(). ----

  void change(const std::function<void(Settings&)>& edit);
  Settings settings();

  void add_user(User user);
  // Replaces a local user of the same name. Throws DatabaseError.
  void put_local_user(const LocalUser& user);
  void set_answer(std::uint32_t type, Answerer answerer);
  void set_fault(Role role, std::uint32_t type, Fault fault);

  // ---- Messages of its own. Each returns to how many connections it went. ----

  std::size_t send_message(const ClientName& client, Role role, std::uint32_t type,
                           std::uint32_t id, View body = {});
  // On the event socket; see event_messages.h.
  std::size_t send(const ClientName& client, const EventMessage& message);
  // Any bytes at all: wrong markers, halves of headers. They are not recorded.
  std::size_t send_raw(const ClientName& client, Role role, View bytes);
  // The status words in force, on the event socket.
  std::size_t send_status(const ClientName& client = {});

  // Closes connections at once; with no client named also those that have not registered.
  std::size_t close_connections(const ClientName& client = {}, Role role = Role::none);

  // ---- What it has seen. The waits are over at the latest after `patience`. ----

  // Clients that have registered both connections. The waits are for exactly `count`.
  std::vector<ClientName> clients();
  bool wait_for_clients(std::size_t count, Milliseconds patience = kPatience);
  // Open connections, registered or not.
  bool wait_for_connections(std::size_t count, Milliseconds patience = kPatience);
  // Connections accepted since the simulator was made.
  std::size_t accepted_connections();

  std::vector<Message> messages();
  std::size_t count(const Predicate& predicate);
  // The first match, recorded already or yet to come. `skip` passes over that many matches.
  std::optional<Message> wait_for_message(const Predicate& predicate,
                                          Milliseconds patience = kPatience, std::size_t skip = 0);
  // A remark that contains `text`, such as "bad marker" before it closes a connection.
  bool wait_for_note(const std::string& text, Milliseconds patience = kPatience);
  // What the messages so far told; a message that has been waited for is among them.
  Memory memory();
  // Throws DatabaseError.
  std::optional<LocalUser> local_user(const std::string& name);

  // Forgets messages and remarks, but not what they told.
  void clear_messages();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace aaa_sim
