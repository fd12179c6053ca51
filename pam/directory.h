// The directory of aaad's sockets.
#pragma once

#include "call.h"

namespace aaa_pam {

// Whether security/aaa exists below the directory that the library will use. Registering would
// create it, and set its mode: a wrong path in the configuration must not do that. Returns false
// with a line in the log.
bool directory_exists(const Call& call);

}  // namespace aaa_pam
