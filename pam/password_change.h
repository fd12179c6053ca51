// Change of a local user's password.
#pragma once

#include "call.h"

namespace aaa_pam {

// Called twice by PAM. The first time asks for the old password and has it checked, the second time
// asks for the new one and changes it.
int change_password(const Call& call);

}  // namespace aaa_pam
