// What every part of a call of the module needs.
#pragma once

#include <security/pam_modules.h>

#include "options.h"

namespace aaa_pam {

struct Call {
  pam_handle_t* handle;
  int flags;
  Options options;

  bool is_silent() const { return (flags & PAM_SILENT) != 0; }
};

}  // namespace aaa_pam
