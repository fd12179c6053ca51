// The arguments of a line in the PAM configuration.
#pragma once

#include <security/pam_modules.h>

#include <cstdint>

namespace aaa_pam {

struct Options {
  const char* directory = nullptr;  // null: TMPDIR
  const char* model = "pam_aaa";
  std::uint32_t aaad_uid = 0;
  std::uint32_t timeout = 15;  // of one exchange with aaad, in seconds
  bool challenge_echo = false;
  bool require_accounting = false;
  bool nodelay = false;
  bool debug = false;
};

// Returns false, with a line in the log, for an argument that the module does not know or whose
// value it cannot use: a module that runs with other settings than were meant is worse than none.
bool parse_options(pam_handle_t* handle, int count, const char** arguments, Options& options);

}  // namespace aaa_pam
