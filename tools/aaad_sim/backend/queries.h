// Requests answered from the settings: method lists, server statistics, password updates, LDAP
// searches. All throw BadBody.
#pragma once

#include "backend/backend.h"

namespace aaa_sim {

// The result of a password change, a word of the answer.
enum class PasswordChange : std::uint32_t {
  done = 0,
  unknown_user = 1,
  wrong_password = 2,
  bad_password = 3,  // empty, too long, or one of the user's earlier ones
};

// 9: 104 with 1 if a list of that name exists, else 0.
Replies query_method_list(Backend& backend, const Request& request);

// 18: 114 with the state of the list of that kind and name; without a name, of the first list of
// that kind; 0 if there is none.
Replies query_method_list_state(Backend& backend, const Request& request);

// 12: 107 with the statistic for the last word, or 0.
Replies query_server_statistic(Backend& backend, const Request& request);

// 26 with user, old and new password: changes the password of a user in the settings; 129 with the
// first word of the request and a PasswordChange.
Replies update_password(Backend& backend, const Request& request);

// 32: 141 on the event connection.
Replies search_directory(Backend& backend, const Request& request);

}  // namespace aaa_sim
