// Notices whose body goes to the client as it is.
#include "aaa_client.h"
#include "runtime/inbound.h"

namespace aaa {
namespace {

constexpr std::uint32_t min_del_notice = 560;
constexpr std::uint32_t min_del_request = 12;
constexpr std::uint32_t min_radext_result = 24;
constexpr std::uint32_t min_coa_request = 720;
constexpr std::uint32_t counted_notice_kind = 2;

}  // namespace

void handle_notify_del_msg(const Inbound& message) {
  const auto callback = message.callback(g_aaa_client_cb.notify_del_msg_cb);
  if (!message.reaches(min_del_notice) || callback == nullptr) return;
  if (message.word_at(0) == counted_notice_kind) add(g_aaalib_stat.coa_and_kick_notices, 1U);
  callback(message.body);
}

void handle_del_msg_req(const Inbound& message) {
  const auto callback = message.callback(g_aaa_client_cb.del_msg_req_cb);
  if (!message.reaches(min_del_request) || callback == nullptr) return;
  callback(message.word_at(0), message.word_at(4), message.word_at(8));
}

void handle_add_radext_result(const Inbound& message) {
  const auto callback = message.callback(g_aaa_client_cb.add_radext_result_cb);
  if (message.reaches(min_radext_result) && callback != nullptr) callback(message.body);
}

void handle_notify_coa_req(const Inbound& message) {
  const auto callback = message.callback(g_aaa_client_cb.notify_coa_req_cb);
  if (!message.reaches(min_coa_request) || callback == nullptr) return;
  add(g_aaalib_stat.coa_and_kick_notices, 1U);
  callback(message.body);
}

}  // namespace aaa
