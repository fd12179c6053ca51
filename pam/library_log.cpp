#include "library_log.h"

#ifdef AAA_HOST_LOG

#include "host_log.h"

aaa_pam::LibraryLogInSyslog::LibraryLogInSyslog() {
  host_log_to(HOST_LOG_SYSLOG);
}

aaa_pam::LibraryLogInSyslog::~LibraryLogInSyslog() {
  host_log_from_environment();
}

#else

aaa_pam::LibraryLogInSyslog::LibraryLogInSyslog() = default;
aaa_pam::LibraryLogInSyslog::~LibraryLogInSyslog() = default;

#endif
