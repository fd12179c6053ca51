// The directory of aaad's sockets.
#pragma once

#include "call.h"

namespace aaa_pam {

// Whether security/aaa exists below the directory that the library will use, and nobody else than
// root, the process's user and aaad's can have put it there. Registering would create it, and set
// its mode, also behind a link: a wrong path in the configuration must not do that. Returns false
// with a line in the log.
bool directory_is_usable(const Call& call);

}  // namespace aaa_pam
