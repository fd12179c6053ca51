// What every part of a call of the module needs.
#pragma once

#include <security/pam_modules.h>

#include "options.h"

namespace aaa_pam {

struct Call {
  pam_handle_t* handle;
  int flags;
  Options options;

  bool has(unsigned flag) const { return (static_cast<unsigned>(flags) & flag) != 0; }
};

}  // namespace aaa_pam
