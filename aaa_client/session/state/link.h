// The link: its number, its loss, and who serves it. A link is what the client and aaad have from
// one connection to its end; its number tells what belongs to it from what an earlier one has left:
// messages that a thread had read, answers that a callback gives late. The receive thread serves
// it, or in agent mode the tasks of the client's event loop.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

using LinkNumber = std::uint32_t;

// The number of the present link, or of the next one while there is none.
LinkNumber link_number();
inline bool link_lasts(LinkNumber link) {
  return link == link_number();
}

// Called by whoever closes one of the link's sockets, under the locks of that socket.
void end_link();

// Makes a change that only the given link's messages may make, unless that link has ended. Its end
// waits for the change.
template <class Change>
void while_link_lasts(LinkNumber link, Change change) {
  const ScopedLock lock(link_number_lock);
  if (link_lasts(link)) change();
}

// Whoever owns the event socket announces a loss before it waits for aaa_lib_lock, so that an
// exchange that holds the lock and drains a dead socket ends.
void announce_link_loss(LinkNumber link);
bool link_is_lost();

// Written under aaa_lib_lock.
extern pthread_t g_receive_msg_tid;       // 0 while there is none
extern std::uint32_t agent_registration;  // number of the one in force; 0 while there is none

inline bool receive_thread_exists() {
  return load(g_receive_msg_tid) != 0;
}

// Whether the caller is the receive thread, and has not been told to end.
inline bool is_receive_thread() {
  return pthread_equal(load(g_receive_msg_tid), pthread_self()) != 0;
}

inline bool agent_mode_is_on() {
  return load(agent_registration) != 0;
}

void begin_agent_registration() REQUIRES(aaa_lib_lock);
void end_agent_registration() REQUIRES(aaa_lib_lock);

class LinkOwner {
 public:
  // The calling receive thread, or the calling task in the agent registration that is in force.
  static LinkOwner receive_thread() { return LinkOwner(true, 0); }
  static LinkOwner agent_task() { return LinkOwner(false, load(agent_registration)); }

  bool is_thread() const { return is_thread_; }

  // Whether the registration that it belongs to is still in force. A callback of the client or
  // another thread may end it at any moment, or begin another one: the owner then leaves everything
  // alone.
  bool goes_on() const {
    if (is_thread_) return is_receive_thread();
    return registration_ != 0 && load(agent_registration) == registration_;
  }

 private:
  LinkOwner(bool is_thread, std::uint32_t registration)
      : is_thread_(is_thread), registration_(registration) {}

  bool is_thread_;
  std::uint32_t registration_;
};

}  // namespace aaa
