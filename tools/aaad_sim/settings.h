// Everything about the simulator that a test or a user can choose, before and while it runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "directory.h"
#include "local_user.h"
#include "message.h"
#include "users.h"

namespace aaa_sim {

// What a client asked.
struct Request {
  const ClientName& client;
  Role role;  // of the connection it came on
  const aaa_ipc_header& header;
  View body;
};

// One message of the answer, and which connection of the client it goes to.
struct Reply {
  Role role;
  std::uint32_t type;
  std::uint32_t id;
  Bytes body;
};

using Replies = std::vector<Reply>;

// Runs on the simulator's thread: must neither block nor call the simulator.
using Answerer = std::function<Replies(const Request&)>;

// How an answer is spoilt.
enum class Fault {
  none,
  silent,      // no answer
  wrong_type,  // type 103 in place of the right one; 101 in place of 103
  empty_body,
  short_body,   // the first half of the body
  close,        // closes the connection that asked, without an answer
  close_after,  // answers, then closes the connection that asked
};

// The aaa_id that tells a client that it was refused.
inline constexpr std::uint32_t kRefused = 255;

// The new model is on, and clients keep heartbeats.
inline aaa_status default_status() {
  aaa_status status{};
  status.new_model = 1;
  status.aaa_id_limit = kRefused;
  return status;
}

struct MethodList {
  std::uint32_t kind = 0;
  std::string name = {};
  std::uint32_t state = 1;

  bool operator==(const MethodList&) const = default;
};

struct Settings {
  std::uint32_t aaa_id = 1;
  aaa_status status = default_status();

  std::uint32_t next_session_id = 1;  // first id of the next block; 0: none is granted
  std::uint32_t session_ids = 100;    // ids in a block

  std::vector<User> users;
  std::vector<MethodList> method_lists;
  std::map<std::uint32_t, std::uint32_t> server_statistics;  // by the last word of the question
  std::vector<LdapEntry> directory;

  // Read when the simulator is made. An empty name keeps the database in memory.
  std::string local_users_file = {};
  // Put into the database at every start, unless users of these names are there.
  std::vector<LocalUser> local_users;

  bool answer_heartbeats = true;
  std::chrono::milliseconds heartbeat_interval{0};  // of heartbeats nobody asked for; 0: none

  bool listening = true;               // false: no socket to connect to
  bool reading = true;                 // false: what clients send stays in their sockets
  bool silent = false;                 // true: nothing is answered
  bool byte_wise = false;              // true: every byte is a write of its own
  std::chrono::milliseconds delay{0};  // of every answer

  // Spoilt answers, by the role of the connection that asks and the type of the request.
  std::map<std::pair<Role, std::uint32_t>, Fault> faults;
  // Answers by type of request, in place of the simulator's own.
  std::map<std::uint32_t, Answerer> answers;
};

// What becomes of the messages that cross.
struct Output {
  bool keep = true;  // for the records that tests wait on
  // Called with each message and remark as a line of text, on the simulator's thread.
  std::function<void(const std::string& line)> line = {};
};

}  // namespace aaa_sim
