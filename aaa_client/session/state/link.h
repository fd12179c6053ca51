// The link: one connection to aaad, from connect to close. Its number identifies what belongs to
// it, so that leftovers of an earlier link are dropped: a message that a thread had already read,
// an answer from a callback that returns late. The link is served by the receive thread or, in
// agent mode, by tasks on the client's event loop.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

using LinkNumber = std::uint32_t;

// The number of the current link, or of the next one while there is none.
LinkNumber link_number();
inline bool link_lasts(LinkNumber link) {
  return link == link_number();
}

// Called when one of the link's sockets is closed, with that socket's locks held.
void end_link();

// Makes a change on behalf of a message of the given link, unless that link has ended. The link
// cannot end during the change.
template <class Change>
void while_link_lasts(LinkNumber link, Change change) {
  const ScopedLock lock(link_number_lock);
  if (link_lasts(link)) change();
}

// The owner of the event socket announces a loss before it waits for aaa_lib_lock. An exchange that
// holds the lock and is draining the dead socket then gives up.
void announce_link_loss(LinkNumber link);
bool link_is_lost();

// Written under aaa_lib_lock.
extern pthread_t g_receive_msg_tid;       // 0 while there is none
extern std::uint32_t agent_registration;  // number of the current one; 0 while there is none

inline bool receive_thread_exists() {
  return load(g_receive_msg_tid) != 0;
}

// Whether the caller is the receive thread and has not been cancelled.
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
  // The calling receive thread; the calling task of the current agent registration.
  static LinkOwner receive_thread() { return LinkOwner(true, 0); }
  static LinkOwner agent_task() { return LinkOwner(false, load(agent_registration)); }

  bool is_thread() const { return is_thread_; }

  // Whether the owner's registration is still current. A client callback or another thread may end
  // it, or begin another one, at any time; the owner must then not touch any state.
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
