// Opening a local socket.
#pragma once

#include <cstdint>

namespace aaa {

// Opens an AF_UNIX socket of a type, close-on-exec. Returns its descriptor, or -1 with errno set.
// Never 0, which counts as not open: a host process without standard input would otherwise get it.
std::int32_t open_local_socket(int type);

}  // namespace aaa
