// Requests about local users, answered from the database.
//
// Each throws BadBody when the message's body is unreadable, and DatabaseError.
#pragma once

#include "questions.h"
#include "world.h"

namespace aaa_sim {

// What is said of a password; a word of the answer.
enum class PasswordSecurity : std::uint32_t {
  good = 0,
  too_short = 1,      // less than 8 characters
  contains_name = 2,  // the user's name, or is contained in it
  used_before = 3,    // the user's own, or an earlier one
};

// What a grant comes to: errno's numbers, 0 when it is given.
enum class Grant : std::uint8_t { given = 0, unknown_user = 2, refused = 13, bad_path = 22 };

// 22, of user and password: 124 with a PasswordSecurity.
Replies judge_password(World& world, const Request& request);

// 115: 115 with the result of a sign-in. 116: 116 with an acceptance when item 301 names a user,
// else a rejection.
Replies authenticate_local_user(World& world, const Request& request);
Replies authorize_local_user(World& world, const Request& request);

// 117, of user, old and new password: 117 with a PasswordChange.
Replies change_local_password(World& world, const Request& request);

// 118, of user, path and rights: 118 with a Grant. It is given for a path that begins with '/' when
// the user has all of the rights.
Replies grant_files(World& world, const Request& request);

// 119: 119 with the user's items, with an empty body when there is no such user.
Replies fetch_local_user(World& world, const Request& request);

// 120: 120 with the byte 1 when the user was there and has been replaced, else 0.
Replies update_local_user(World& world, const Request& request);

}  // namespace aaa_sim
