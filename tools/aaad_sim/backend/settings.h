// Everything about the simulator that can be set before and while it runs.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "radius/settings.h"
#include "server/request.h"
#include "server/server_settings.h"
#include "wire/ldap.h"
#include "wire/local_user.h"

namespace aaa_sim {

enum class Verdict { accept, reject, challenge };

struct User {
  std::string name = {};
  std::string password = {};
  Verdict verdict = Verdict::accept;  // with the right password
  std::string reply_message = {};
  std::string state = {};             // of a challenge; the answer to the challenge must repeat it
  std::string eap_message = {};       // of a challenge
  std::string class_attribute = {};   // of an acceptance
  std::uint32_t session_timeout = 0;  // of an acceptance, in seconds
};

struct MethodList {
  std::uint32_t kind = 0;
  std::string name = {};
  std::uint32_t state = 1;

  bool operator==(const MethodList&) const = default;
};

// The new model is on, and clients send heartbeats.
inline aaa_status default_status() {
  aaa_status status{};
  status.new_model = 1;
  status.aaa_id_limit = kRefused;
  return status;
}

// Runs on the simulator's thread: must neither block nor call the simulator.
using Answerer = std::function<Replies(const Request&)>;

struct Settings : ServerSettings {
  aaa_status status = default_status();

  std::uint32_t next_session_id = 1;  // first id of the next block; 0: none is granted
  std::uint32_t session_ids = 100;    // ids in a block

  std::vector<User> users;
  std::vector<MethodList> method_lists;
  std::map<std::uint32_t, std::uint32_t> server_statistics;  // by the last word of the query
  std::vector<LdapEntry> directory;

  // Read by the simulator's constructor. Empty: the database is in memory.
  std::string local_users_file = {};
  // Added to the database at every start, except names that it has.
  std::vector<LocalUser> local_users;

  bool answer_heartbeats = true;

  // Read at every start. With servers they answer instead of `users`.
  radius::Settings radius;

  // Replace the simulator's own answers, by the type of the request.
  std::map<std::uint32_t, Answerer> answers;
};

}  // namespace aaa_sim
