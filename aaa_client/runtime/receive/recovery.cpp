#include "runtime/receive/recovery.h"

#include "runtime/send/local_delivery.h"
#include "session/link/connect.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/clock.h"
#include "transport/link_sockets.h"
#include "transport/read_ahead.h"

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
  while_link_lasts(link, [now] { store(aaalib_hbt_last_send, now); });
}

namespace {

std::int32_t receive_ahead(std::int32_t fd, void* to, std::size_t length, std::size_t& received)
    REQUIRES(event_read_lock) {
  return event_read_ahead.receive(fd, to, length, received);
}

const RecoveryRules& rules_of(const LinkOwner& owner) {
  return owner.is_thread() ? thread_rules : loop_rules;
}

// Whether the client is still registered. Sets the state when it is not.
bool confirm_registration(const LinkOwner& owner) REQUIRES(aaa_lib_lock) {
  if (!owner.goes_on()) return false;
  if (!is_deregistered()) return true;
  set_reg_state(AAA_REG_NOT_REGISTERED);
  return false;
}

bool is_still_registered(const LinkOwner& owner) {
  const ScopedLock lock(aaa_lib_lock);
  return confirm_registration(owner);
}

// State and sockets change under one lock: a deregistration happens before or after both.
Damage give_up_link(const LinkOwner& owner) {
  const ScopedLock lock(aaa_lib_lock);
  if (!confirm_registration(owner)) return Damage::registration_ended;
  aaa_lib_client_close();
  set_reg_state(rules_of(owner).state_after_loss);
  return Damage::link_lost;
}

// Whether the client itself has closed the socket; the next one may have got its number. The
// receive thread continues with the current socket, if any; an agent task has none to continue with
// and always rebuilds the link.
bool is_replaced(const Watched& watched) {
  return !link_lasts(watched.link) || load(g_aaa_client_cb.async_fd) != watched.fd;
}

// aaa_id may have become -1 while the receive thread slept. Agent tasks are stopped by goes_on().
bool may_try(const LinkOwner& owner) {
  return owner.goes_on() && !(owner.is_thread() && is_deregistered());
}

}  // namespace

// The client's loop polls the socket, so agent mode must not read ahead.
constinit const RecoveryRules thread_rules = {
    .reader = {MessageBlock::body_and_nul, true, receive_ahead},
    .pause_seconds = 2,
    .releases_waiter = true,
    .state_after_loss = AAA_REG_LOST,
    .event_after_success = AAA_EVENT_REREGISTERED,
};
constinit const RecoveryRules loop_rules = {
    .reader = {MessageBlock::body_and_nul, false, receive_exactly},
    .pause_seconds = 3,
    .releases_waiter = false,
    .state_after_loss = AAA_REG_NOT_REGISTERED,
    .event_after_success = AAA_EVENT_REGISTERED,
};

// The number is read first: if the socket is replaced in between, the number is already stale.
Watched watched_socket() {
  const LinkNumber link = link_number();
  return {.link = link, .fd = load(g_aaa_client_cb.async_fd)};
}

Damage give_up_lost_link(const LinkOwner& owner, const Watched& watched, std::int32_t error) {
  const bool is_broken = aaa_lib_is_conn_broken_err(error) != 0;
  if (is_broken) announce_link_loss(watched.link);
  if (!is_still_registered(owner)) return Damage::registration_ended;
  if (owner.is_thread() && is_replaced(watched)) return Damage::none;
  if (rules_of(owner).releases_waiter) aaa_notify_timeout(watched.link);
  return is_broken ? give_up_link(owner) : Damage::none;
}

Attempt try_first_time(const LinkOwner& owner) {
  const ScopedLock lock(aaa_lib_lock);
  if (!may_try(owner)) return Attempt::registration_ended;
  if (aaalib_connect_and_register_to_aaad() == 0) return Attempt::registered;
  aaa_lib_client_close();
  return Attempt::failed;
}

Attempt try_again(const LinkOwner& owner) {
  const ScopedLock lock(aaa_lib_lock);
  const Attempt attempt = try_first_time(owner);
  if (attempt != Attempt::failed) return attempt;
  if (owner.is_thread() || !is_deregistered()) set_reg_state(AAA_REG_LOST);
  return is_deregistered() ? Attempt::registration_ended : Attempt::failed;
}

}  // namespace aaa
