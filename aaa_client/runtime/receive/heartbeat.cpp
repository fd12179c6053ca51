#include "runtime/receive/heartbeat.h"

#include "session/state/client_state.h"
#include "transport/base/clock.h"
#include "transport/link_sockets.h"

std::uint32_t aaalib_hbt_last_send = 0;
std::uint32_t aaalib_hbt_last_recv = 0;

namespace aaa {
namespace {

constexpr std::uint32_t send_period_seconds = 60;
constexpr std::uint32_t silence_limit_seconds = 180;

}  // namespace

bool heartbeat_is_kept() {
  const std::int32_t id = load(g_aaa_client_cb.aaa_id);
  return id > 0 && id < static_cast<std::int32_t>(load(g_aaa_status.aaa_id_limit));
}

bool aaad_is_silent(std::uint32_t now) {
  return load(aaalib_hbt_last_recv) + silence_limit_seconds < now;
}

bool heartbeat_is_due(std::uint32_t now) {
  return load(aaalib_hbt_last_send) + send_period_seconds < now;
}

void rearm_heartbeat() {
  store(aaalib_hbt_last_send, 0U);
  store(aaalib_hbt_last_recv, monotonic_seconds());
}

void send_heartbeat(LinkNumber link, std::uint32_t now) {
  send_message_on_link(LinkSocket::request, link, AAA_MSG_HEARTBEAT, nullptr, 0);
  store(aaalib_hbt_last_send, now);
}

}  // namespace aaa
