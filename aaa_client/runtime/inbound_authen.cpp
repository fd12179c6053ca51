// Authentication work that aaad hands to the client.
#include "aaa_client.h"
#include "session/client_state.h"
#include "transport/debug_log.h"

namespace {

authen_info* decode(const aaa_ipc_header* header, const void* body) {
  authen_info* authen = nullptr;
  if (body == nullptr) return nullptr;
  aaa_parse_authen_info(&authen, body, static_cast<std::int32_t>(header->length));
  return authen;
}

}  // namespace

void aaalib_ipc_msg_proc_enable_authen(const aaa_ipc_header* header, const void* body) {
  authen_info* const authen = decode(header, body);
  if (authen == nullptr) return;
  const aaa_enable_authen_fn callback = aaa::load(g_aaa_client_cb.enable_authen_cb);
  if (callback != nullptr) callback(authen);
  aaa_free_authen_info(authen);
}

void aaalib_ipc_msg_proc_localeap_authen(const aaa_ipc_header* header, const void* body) {
  authen_info* const authen = decode(header, body);
  if (authen == nullptr) return;
  AAA_DEBUG_LOG("send authen info to localeap\r\n");
  const aaa_localeap_authen_fn callback = aaa::load(g_aaa_client_cb.localeap_authen_cb);
  if (callback != nullptr) callback(authen);
  aaa_free_authen_info(authen);
}
