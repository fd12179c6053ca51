// Closing the event socket, for a client that has been told of its deregistration.
#include "aaa_client.h"
#include "session/locks.h"
#include "transport/atomic_word.h"
#include "transport/link_sockets.h"

void aaalib_ipc_msg_proc_dereg_response() {
  const aaa::ScopedLock lock(aaa_lib_lock);
  if (aaa::load(g_aaa_client_cb.async_fd) >= 1) aaa::close_socket(aaa::LinkSocket::event);
  aaa::store(g_aaa_client_cb.async_fd, -1);
}
