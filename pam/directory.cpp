#include "directory.h"

#include <security/pam_ext.h>
#include <sys/stat.h>
#include <syslog.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "limits.h"

namespace aaa_pam {
namespace {

constexpr char kBelow[] = "/security/aaa";

}  // namespace

bool directory_exists(const Call& call) {
  const char* const base =
      call.options.directory != nullptr ? call.options.directory : ::secure_getenv("TMPDIR");
  if (base == nullptr) {
    pam_syslog(call.handle, LOG_ERR, "no directory= and no TMPDIR: where aaad is, is not known");
    return false;
  }
  char path[kMaxDirectory + sizeof kBelow];
  if (std::strlen(base) > kMaxDirectory) {
    pam_syslog(call.handle, LOG_ERR, "TMPDIR has more than %zu bytes", kMaxDirectory);
    return false;
  }
  (void)std::snprintf(path, sizeof path, "%s%s", base, kBelow);
  struct stat found;
  if (::stat(path, &found) != 0) {
    pam_syslog(call.handle, LOG_ERR, "%s: %s", path, std::strerror(errno));
    return false;
  }
  if (S_ISDIR(found.st_mode)) return true;
  pam_syslog(call.handle, LOG_ERR, "%s is not a directory", path);
  return false;
}

}  // namespace aaa_pam
