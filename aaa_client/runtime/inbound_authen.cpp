// Authentication work that aaad hands to the client.
#include "aaa_client.h"
#include "runtime/inbound.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

authen_info* decode(const Inbound& message) {
  authen_info* authen = nullptr;
  if (message.body == nullptr) return nullptr;
  aaa_parse_authen_info(&authen, message.body, static_cast<std::int32_t>(message.header->length));
  return authen;
}

}  // namespace

void handle_enable_authen(const Inbound& message) {
  authen_info* const authen = decode(message);
  if (authen == nullptr) return;
  const auto callback = message.callback(g_aaa_client_cb.enable_authen_cb);
  if (callback != nullptr) callback(authen);
  aaa_free_authen_info(authen);
}

void handle_localeap_authen(const Inbound& message) {
  authen_info* const authen = decode(message);
  if (authen == nullptr) return;
  AAA_DEBUG_LOG_AS("aaalib_ipc_msg_proc_localeap_authen", "send authen info to localeap\r\n");
  const auto callback = message.callback(g_aaa_client_cb.localeap_authen_cb);
  if (callback != nullptr) callback(authen);
  aaa_free_authen_info(authen);
}

}  // namespace aaa
