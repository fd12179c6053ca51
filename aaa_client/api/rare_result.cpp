// A result that the client produced, for aaad.
#include <cerrno>

#include "aaa_client.h"
#include "api/encoded_body.h"
#include "api/send_path.h"
#include "session/client_state.h"
#include "session/locks.h"
#include "transport/debug_log.h"

std::int32_t aaa_method_add_result(result_info* result) {
  if (aaa_is_alive() == 0) return -1;
  if (result == nullptr) return -EINVAL;
  const aaa::EncodedBody body(aaa_encap_result_info, result);
  if (body.length() == 0) {
    AAA_DEBUG_LOG("out of memory.\r\n");
    return -ENOMEM;
  }
  const aaa::ScopedLock lock(aaa_lib_lock);
  const std::uint32_t error =
      aaa_lib_send_ipc_msg(aaa::load(g_aaa_client_cb.sync_fd), AAA_MSG_SEND_RARE_RESULT,
                           result->sub.session_id, body.bytes(), body.length());
  const auto code = static_cast<std::int32_t>(error);
  if (code != 0) AAA_DEBUG_LOG("send packet error with errno %d.\r\n", code);
  return -code;
}
