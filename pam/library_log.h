// Where the lines of the library go.
#pragma once

namespace aaa_pam {

// Sends the library's lines to syslog in its lifetime, because the streams are the host's. A
// device's platform logs where it always does.
class LibraryLogInSyslog {
 public:
  LibraryLogInSyslog();
  ~LibraryLogInSyslog();
  LibraryLogInSyslog(const LibraryLogInSyslog&) = delete;
  LibraryLogInSyslog& operator=(const LibraryLogInSyslog&) = delete;
};

}  // namespace aaa_pam
