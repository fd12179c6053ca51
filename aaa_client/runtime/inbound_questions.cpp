// The two questions that are answered in any case, on the event socket.
#include <cstdint>

#include "aaa_client.h"
#include "runtime/inbound.h"
#include "session/locks.h"
#include "transport/link_frames.h"

namespace aaa {
namespace {

constexpr std::uint32_t min_gs_question = 396;
constexpr std::size_t gs_word_offset = 392;

// A callback may come back after its link has ended: aaad then no longer waits for the answer.
void answer(const Inbound& message, aaa_msg_type type, const void* body, std::uint32_t length) {
  const ScopedLock lock(aaa_lib_lock);
  if (!link_lasts(message.link)) return;
  send_message_on_link(LinkSocket::event, message.link, type, body, length);
}

std::int32_t ask_verdict(const Inbound& message) {
  const auto callback = message.callback(g_aaa_client_cb.gs_valid_req_cb);
  if (callback == nullptr) return 0;
  return callback(message.body, message.word_at(gs_word_offset), message.header->length) != 0 ? -1
                                                                                              : 0;
}

}  // namespace

void handle_gs_valid_req(const Inbound& message) {
  if (!message.reaches(min_gs_question)) return;
  const std::int32_t verdict = ask_verdict(message);
  answer(message, AAA_MSG_GS_VALID_RESP, &verdict, sizeof verdict);
}

void handle_get_online_info(const Inbound& message) {
  alignas(8) std::uint8_t online_info[8] = {};
  const auto callback = message.callback(g_aaa_client_cb.get_online_info_cb);
  if (callback != nullptr) callback(online_info, message.body);
  answer(message, AAA_MSG_RDS_ONLINE_INFO_RESP, online_info, sizeof online_info);
}

}  // namespace aaa
