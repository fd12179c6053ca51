// The session that an authentication has made, kept for authorization and accounting.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "call.h"
#include "limits.h"

namespace aaa_pam {

struct Session {
  Session() = default;
  Session(const Session&) = default;
  Session& operator=(const Session&) = default;
  ~Session() { ::explicit_bzero(static_cast<void*>(this), sizeof *this); }

  std::uint32_t id = 0;
  char name[kMaxName + 1] = "";  // of the user who was authenticated
  std::uint16_t class_size = 0;
  std::array<std::uint8_t, kMaxClass> class_bytes = {};
  bool is_open = false;    // its start was reported, or could not be
  std::int64_t start = 0;  // second in which it was opened, of seconds_now()
};

// Seconds since the start of the system, with those in which it slept.
std::int64_t seconds_now();

// Keeps it in the handle, and in the PAM environment for programs such as sshd, which authenticate
// in one process and open the session in another. Returns a PAM result.
int keep_session(const Call& call, const Session& session);

// Null when there is none.
Session* kept_session(const Call& call);

// As kept_session(), also for one that another process has kept, which is moved into the handle: it
// is the newer one. One of another user does not replace the handle's.
Session* known_session(const Call& call);

// As known_session(). Also removes it from the PAM environment, which becomes that of the
// user's programs.
Session* take_session(const Call& call);

// Whether PAM still means the user who was authenticated.
bool is_of_current_user(const Call& call, const Session& session);

// Nothing of an earlier authentication is left then.
void forget_session(const Call& call);

}  // namespace aaa_pam
