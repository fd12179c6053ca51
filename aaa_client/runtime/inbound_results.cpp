// Results of requests: to the client's callback, or to the thread that waits for them.
#include "aaa_client.h"
#include "runtime/inbound.h"

namespace aaa {
namespace {

void hand_to_callback(aaa_notify_result_fn callback, const Inbound& message) {
  add(g_aaalib_stat.results_to_callback, 1U);
  result_info* result = nullptr;
  if (aaa_parse_result_info(&result, message.body,
                            static_cast<std::int32_t>(message.header->length)) != 0) {
    callback(result);
  }
  aaa_free_result_info(result);
}

}  // namespace

void handle_notify_result(const Inbound& message) {
  if (message.body == nullptr) return;
  const aaa_notify_result_fn callback = acquire(g_aaa_client_cb.notify_result_cb);
  if (!link_lasts(message.link)) return;
  if (callback != nullptr) {
    hand_to_callback(callback, message);
    return;
  }
  add(g_aaalib_stat.results_to_waiter, 1U);
  aaa_lib_send_msg(message.body, message.header->length);
}

}  // namespace aaa
