// The descriptors of standard input, output and error.
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace aaa_sim {

// Opens /dev/null for those that are closed: a file or socket with such a number would get what is
// printed. Output that was closed still cannot be written. Call it before anything is opened.
inline void occupy_standard_streams() {
  int fd;
  do
    fd = ::open("/dev/null", O_RDONLY);
  while (fd >= 0 && fd <= STDERR_FILENO);
  if (fd >= 0) ::close(fd);
}

}  // namespace aaa_sim
