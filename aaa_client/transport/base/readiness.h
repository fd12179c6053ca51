// Waiting until a descriptor can be read.
#pragma once

namespace aaa {

// As select() for reading on one descriptor, for descriptors of any size: 1 when it is readable
// (data, end of stream or an error to fetch), 0 after `timeout_ms`, -1 with errno set otherwise
// (EINTR, EBADF for a descriptor that is not open). A cancellation point.
int wait_readable(int fd, int timeout_ms);

}  // namespace aaa
