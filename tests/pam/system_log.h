// What the process has written to syslog. syslog(3) of the test program takes the place of the C
// library's, for the module and for libpam too.
#pragma once

#include <string>
#include <vector>

namespace pam_test {

std::vector<std::string> system_log();
void clear_system_log();

}  // namespace pam_test
