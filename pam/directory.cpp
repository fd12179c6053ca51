#include "directory.h"

#include <security/pam_ext.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "limits.h"

namespace aaa_pam {
namespace {

bool is_trusted(const Call& call, uid_t owner) {
  return owner == 0 || owner == ::geteuid() || owner == call.options.aaad_uid;
}

// Null when there is nothing against it. The library sets modes there, and would follow a link.
const char* objection_to(const Call& call, const struct stat& found) {
  if (S_ISLNK(found.st_mode)) return "is a symbolic link";
  if (!S_ISDIR(found.st_mode)) return "is not a directory";
  return is_trusted(call, found.st_uid) ? nullptr : "belongs to another user";
}

bool is_usable(const Call& call, const char* path, bool others_may_write) {
  struct stat found;
  if (::lstat(path, &found) != 0) {
    pam_syslog(call.handle, LOG_ERR, "%s: %s", path, std::strerror(errno));
    return false;
  }
  const char* objection = objection_to(call, found);
  if (objection == nullptr && !others_may_write && (found.st_mode & S_IWOTH) != 0)
    objection = "can be written by others";
  if (objection != nullptr) pam_syslog(call.handle, LOG_ERR, "%s %s", path, objection);
  return objection == nullptr;
}

// Null with a line in the log. What root's TMPDIR is does not say where aaad is.
const char* base_directory(const Call& call) {
  if (call.options.directory != nullptr) return call.options.directory;
  const char* const base = ::geteuid() == 0 ? nullptr : ::secure_getenv("TMPDIR");
  if (base == nullptr)
    pam_syslog(call.handle, LOG_ERR, "no directory= and no TMPDIR, which root does not use");
  return base;
}

}  // namespace

bool directory_is_usable(const Call& call) {
  const char* const base = base_directory(call);
  if (base == nullptr) return false;
  const std::size_t length = std::strlen(base);
  if (length > kMaxDirectory) {
    pam_syslog(call.handle, LOG_ERR, "TMPDIR has more than %zu bytes", kMaxDirectory);
    return false;
  }
  char path[kMaxDirectory + sizeof "/security/aaa"];
  (void)std::snprintf(path, sizeof path, "%s/security/aaa", base);
  for (const std::size_t part : {length, length + std::strlen("/security"), std::strlen(path)}) {
    const char next = std::exchange(path[part], '\0');
    if (!is_usable(call, path, part != length)) return false;
    path[part] = next;
  }
  return true;
}

}  // namespace aaa_pam
