// A message of the event socket on its way to its handler, and the events that are raised for it.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_client.h"
#include "session/state/link.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/message.h"

namespace aaa {

struct Inbound {
  const aaa_ipc_header* header;
  const void* body;  // null when it has none
  LinkNumber link;   // the link that it was read on

  // Whether there is a body of at least `length` bytes.
  bool reaches(std::uint32_t length) const { return body != nullptr && header->length >= length; }

  // The 32-bit word at a byte offset, which need not be aligned. REQUIRES: reaches(offset + 4).
  std::uint32_t word_at(std::size_t offset) const {
    std::uint32_t word = 0;
    std::memcpy(&word, static_cast<const char*>(body) + offset, sizeof word);
    return word;
  }

  // The callback in a slot of the connection record; null, too, if the link has ended. The link is
  // checked after the slot is read, so this is never the callback of a later registration.
  template <class Callback>
  Callback callback(const Callback& slot) const {
    const Callback found = acquire(slot);
    return link_lasts(link) ? found : nullptr;
  }
};

// A message that is being read from the event socket.
class LinkMessage {
 public:
  // As read_message().
  ReadOutcome read(std::int32_t fd, const MessageReader& reader) REQUIRES(event_read_lock) {
    assert(is_held(event_read_lock));
    link_ = link_number();
    return read_message(fd, reader, message_);
  }
  Inbound inbound() const { return {&message_.header, message_.body, link_}; }
  void release() { message_.release(); }

 private:
  Message message_;
  LinkNumber link_ = 0;
};

// The handlers; runtime/receive/dispatch.cpp maps message types to them.
void handle_aaa_info_notify(const Inbound& message);
void handle_notify_result(const Inbound& message);
void handle_notify_del_msg(const Inbound& message);
void handle_aaa_debug_info(const Inbound& message);
void handle_authen_group_req(const Inbound& message);
void handle_author_group_req(const Inbound& message);
void handle_acct_group_req(const Inbound& message);
void handle_gs_valid_req(const Inbound& message);
void handle_get_online_info(const Inbound& message);
void handle_enable_authen(const Inbound& message);
void handle_mlist_change(const Inbound& message);
void handle_del_msg_req(const Inbound& message);
void handle_add_radext_result(const Inbound& message);
void handle_notify_coa_req(const Inbound& message);
void handle_localeap_authen(const Inbound& message);
void handle_backend_update_user_pwd(const Inbound& message);
void handle_heartbeat(const Inbound& message);
void handle_ldap_search_entry_req(const Inbound& message);
void handle_notify_ldap_search_entry_result(const Inbound& message);

// Calls the handler of a message, unless its link has ended.
void dispatch(const Inbound& message);

// Raises an event on behalf of a registration that may end at any time. `is_current` is called
// after the callback is read, so this is never the callback of a later registration.
template <class IsCurrent>
void raise_event(aaa_client_event event, IsCurrent is_current) {
  const aaa_event_fn callback = acquire(g_aaa_client_cb.aaa_event_cb);
  if (callback != nullptr && is_current()) callback(static_cast<std::uint32_t>(event));
}

// The handler for password updates that aaad asks for; null while the client has set none.
extern aaa_user_pwd_update_fn g_aaa_user_pwd_update_req_handle;

}  // namespace aaa
