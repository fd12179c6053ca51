#include "pam/system_log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

std::mutex mutex;
std::vector<std::string> lines;

__attribute__((format(printf, 1, 0))) void add_line(const char* format, va_list arguments) {
  char line[4096];
  std::vsnprintf(line, sizeof line, format, arguments);
  const std::lock_guard lock(mutex);
  lines.emplace_back(line);
}

}  // namespace

std::vector<std::string> pam_test::system_log() {
  const std::lock_guard lock(mutex);
  return lines;
}

void pam_test::clear_system_log() {
  const std::lock_guard lock(mutex);
  lines.clear();
}

extern "C" {

__attribute__((format(printf, 2, 3))) void syslog(int, const char* format, ...);
// What programs call that were compiled with _FORTIFY_SOURCE.
__attribute__((format(printf, 3, 4))) void __syslog_chk(int, int, const char* format, ...);

void syslog(int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  add_line(format, arguments);
  va_end(arguments);
}

void __syslog_chk(int, int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  add_line(format, arguments);
  va_end(arguments);
}
}
