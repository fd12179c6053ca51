// The two questions that are answered in any case, on the event socket.
#include <cstdint>

#include "aaa_client.h"
#include "runtime/body_words.h"
#include "session/client_state.h"
#include "session/locks.h"
#include "transport/framing.h"

namespace {

constexpr std::uint32_t min_gs_question = 396;
constexpr std::size_t gs_word_offset = 392;

void answer(aaa_msg_type type, const void* body, std::uint32_t length) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  aaa::aaalib_send_ipc_msg_print(g_aaa_client_cb.async_fd, type, body, length);
}

std::int32_t ask_verdict(const void* body, std::uint32_t length) {
  const aaa_gs_valid_req_fn callback = aaa::load(g_aaa_client_cb.gs_valid_req_cb);
  if (callback == nullptr) return 0;
  return callback(body, aaa::word_at(body, gs_word_offset), length) != 0 ? -1 : 0;
}

}  // namespace

void aaalib_ipc_msg_proc_gs_valid_req(const aaa_ipc_header* header, const void* body) {
  if (body == nullptr || header->length < min_gs_question) return;
  const std::int32_t verdict = ask_verdict(body, header->length);
  answer(AAA_MSG_GS_VALID_RESP, &verdict, sizeof verdict);
}

void aaalib_ipc_msg_proc_get_online_info(const aaa_ipc_header*, const void* body) {
  std::uint8_t online_info[8] = {};
  const aaa_get_online_info_fn callback = aaa::load(g_aaa_client_cb.get_online_info_cb);
  if (callback != nullptr) callback(online_info, body);
  answer(AAA_MSG_RDS_ONLINE_INFO_RESP, online_info, sizeof online_info);
}
