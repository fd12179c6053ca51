// Requests answered from the local user database. All throw BadBody and DatabaseError.
#pragma once

#include "backend/queries.h"

namespace aaa_sim {

// The strength of a password, a word of the answer.
enum class PasswordSecurity : std::uint32_t {
  good = 0,
  too_short = 1,      // less than 8 characters
  contains_name = 2,  // contains the user's name, or is contained in it
  used_before = 3,    // the user's current or a previous one
};

// The result of a file grant: 0 or an errno number.
enum class Grant : std::uint8_t { given = 0, unknown_user = 2, refused = 13, bad_path = 22 };

// 22 with user and password: 124 with a PasswordSecurity.
Replies check_password(Backend& backend, const Request& request);

// 115: 115 with the result of the login. 116: 116 with an acceptance if item 301 names a user, else
// a rejection.
Replies authenticate_local_user(Backend& backend, const Request& request);
Replies authorize_local_user(Backend& backend, const Request& request);

// 117 with user, old and new password: 117 with a PasswordChange.
Replies change_local_password(Backend& backend, const Request& request);

// 118 with user, path and rights: 118 with a Grant, given for an absolute path if the user has all
// of the rights.
Replies grant_files(Backend& backend, const Request& request);

// 119: 119 with the user's items; an empty body for an unknown user.
Replies fetch_local_user(Backend& backend, const Request& request);

// 120: replaces the user; 120 with the byte 1, or 0 for an unknown user.
Replies update_local_user(Backend& backend, const Request& request);

}  // namespace aaa_sim
