// Notices whose body goes to the client as it is.
#include "aaa_client.h"
#include "runtime/body_words.h"
#include "session/client_state.h"

namespace {

constexpr std::uint32_t min_del_notice = 560;
constexpr std::uint32_t min_del_request = 12;
constexpr std::uint32_t min_radext_result = 24;
constexpr std::uint32_t min_coa_request = 720;
constexpr std::uint32_t counted_notice_kind = 2;

bool reaches(const aaa_ipc_header* header, const void* body, std::uint32_t length) {
  return body != nullptr && header->length >= length;
}

}  // namespace

void aaalib_ipc_msg_proc_notify_del_msg(const aaa_ipc_header* header, const void* body) {
  const aaa_notify_del_msg_fn callback = aaa::load(g_aaa_client_cb.notify_del_msg_cb);
  if (!reaches(header, body, min_del_notice) || callback == nullptr) return;
  if (aaa::word_at(body, 0) == counted_notice_kind) {
    aaa::add(g_aaalib_stat.coa_and_kick_notices, 1U);
  }
  callback(body);
}

void aaalib_ipc_msg_proc_del_msg_req(const aaa_ipc_header* header, const void* body) {
  const aaa_del_msg_req_fn callback = aaa::load(g_aaa_client_cb.del_msg_req_cb);
  if (!reaches(header, body, min_del_request) || callback == nullptr) return;
  callback(aaa::word_at(body, 0), aaa::word_at(body, 4), aaa::word_at(body, 8));
}

void aaalib_ipc_msg_proc_add_radext_result(const aaa_ipc_header* header, const void* body) {
  const aaa_add_radext_result_fn callback = aaa::load(g_aaa_client_cb.add_radext_result_cb);
  if (reaches(header, body, min_radext_result) && callback != nullptr) callback(body);
}

void aaalib_ipc_msg_proc_notify_coa_req(const aaa_ipc_header* header, const void* body) {
  const aaa_notify_coa_req_fn callback = aaa::load(g_aaa_client_cb.notify_coa_req_cb);
  if (!reaches(header, body, min_coa_request) || callback == nullptr) return;
  aaa::add(g_aaalib_stat.coa_and_kick_notices, 1U);
  callback(body);
}
