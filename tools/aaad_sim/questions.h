// Questions about method lists and servers, searches, and password updates: what they are answered
// from the settings.
//
// Each throws BadBody when the message's body is too short.
#pragma once

#include "world.h"

namespace aaa_sim {

// What a password change comes to: a word of the answer, 0 when it is done.
enum class PasswordChange : std::uint32_t {
  done = 0,
  unknown_user = 1,
  wrong_password = 2,
  bad_password = 3,  // empty, too long, or one of the user's earlier ones
};

// 9: 104 with 1 when there is a list of that name, else 0.
Replies look_for_method_list(World& world, const Request& request);

// 18: 114 with the state of the list of that kind and name, or of the first of that kind when no
// name is given; 0 when there is none.
Replies tell_method_list_state(World& world, const Request& request);

// 12: 107 with the statistic that the settings have for the last word, else 0.
Replies tell_server_statistic(World& world, const Request& request);

// 26, of user, old and new password: changes the password of a user of the settings; 129 with the
// first word of the question and a PasswordChange.
Replies update_password(World& world, const Request& request);

// 32: 141 on the event connection.
Replies search_directory(World& world, const Request& request);

}  // namespace aaa_sim
