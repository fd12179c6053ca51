#include "file_descriptor.h"

#include <cerrno>
#include <system_error>

namespace aaa_sim {

FileDescriptor checked(int fd, const char* what) {
  if (fd < 0) throw std::system_error(errno, std::generic_category(), what);
  return FileDescriptor(fd);
}

}  // namespace aaa_sim
