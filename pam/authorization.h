// Account management.
#pragma once

#include "call.h"

namespace aaa_pam {

// Asks aaad whether the session that this module has authenticated is allowed. PAM_IGNORE when
// another module has authenticated the user: aaad knows the user by session id only.
// PAM_PERM_DENIED when the user is not the one who was authenticated.
int authorize(const Call& call);

}  // namespace aaa_pam
