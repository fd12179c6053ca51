// Handing an encoded result to the thread that waits for it, as one datagram inside the process.
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "transport/atomic_word.h"
#include "transport/debug_log.h"
#include "transport/endpoints.h"

void aaa_lib_send_msg(const void* body, std::uint32_t length) {
  const std::int32_t fd = aaa::load(lib_msg_client_fd);
  if (fd < 1) {
    AAA_DEBUG_LOG("lib_msg_client_fd is not ready.\r\n");
    return;
  }
  const std::int32_t error =
      aaa::message_client_is_closed()
          ? EBADF
          : aaa_msg_send(fd, body, static_cast<std::int32_t>(length), MSG_WAITALL);
  if (error != 0) AAA_DEBUG_LOG("send failed %s\r\n", std::strerror(error));
}
