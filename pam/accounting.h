// Session management: accounting.
#pragma once

#include "call.h"

namespace aaa_pam {

// Report start and stop of the session that this module has authenticated, the stop once and only
// of one that was opened. PAM_SUCCESS without one,
// and when aaad does not take the report, unless the option require_accounting is set.
int open_session(const Call& call);
int close_session(const Call& call);

}  // namespace aaa_pam
