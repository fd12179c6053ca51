// Results of requests: to the client's callback, or to the thread that waits for them.
#include "aaa_client.h"
#include "session/client_state.h"

namespace {

void hand_to_callback(aaa_notify_result_fn callback, const void* body, std::uint32_t length) {
  aaa::add(g_aaalib_stat.results_to_callback, 1U);
  result_info* result = nullptr;
  if (aaa_parse_result_info(&result, body, static_cast<std::int32_t>(length)) != 0) {
    callback(result);
  }
  aaa_free_result_info(result);
}

}  // namespace

void aaalib_ipc_msg_proc_notify_result(const aaa_ipc_header* header, const void* body) {
  if (body == nullptr) return;
  const aaa_notify_result_fn callback = aaa::load(g_aaa_client_cb.notify_result_cb);
  if (callback != nullptr) {
    hand_to_callback(callback, body, header->length);
    return;
  }
  aaa::add(g_aaalib_stat.results_to_waiter, 1U);
  aaa_lib_send_msg(body, header->length);
}
