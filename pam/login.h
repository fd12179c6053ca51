// Authentication.
#pragma once

#include "call.h"

namespace aaa_pam {

// Asks for the password, and for the answers to challenges. Keeps the session of an acceptance.
int authenticate(const Call& call);

}  // namespace aaa_pam
