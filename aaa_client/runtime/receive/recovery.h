// The recovery of a lost link: the same steps for the receive thread, which sleeps between its
// attempts, and for agent mode, whose tasks the client's loop schedules.
#pragma once

#include <cstdint>

#include "aaa_client.h"
#include "session/state/link.h"
#include "transport/message.h"

namespace aaa {

// What differs between the two.
struct RecoveryRules {
  MessageReader reader;
  unsigned pause_seconds;                // between two attempts
  bool releases_waiter;                  // a failed read ends the wait in aaa_user_get_result()
  aaa_reg_state state_after_loss;        // until the first attempt
  aaa_client_event event_after_success;  // of a later attempt
};
extern const RecoveryRules thread_rules;
extern const RecoveryRules loop_rules;

// The event socket as its owner found it.
struct Watched {
  LinkNumber link;
  std::int32_t fd;
};
Watched watched_socket();

enum class Damage {
  link_lost,           // and given up: it is to be built anew
  none,                // the owner goes on
  registration_ended,  // the owner does nothing more
};

// Begins the recovery after reading failed, or aaad was silent, with an errno value that decides
// what is lost. 0 stands for a failure that is not the connection's.
Damage give_up_lost_link(const LinkOwner& owner, const Watched& watched, std::int32_t error);

enum class Attempt { registered, failed, registration_ended };

// One attempt to connect and register. Both hold aaa_lib_lock throughout, so that an attempt cannot
// cross a deregistration.
Attempt try_first_time(const LinkOwner& owner);
// The same after a loss: a failure leaves state 5, unless the client has deregistered.
Attempt try_again(const LinkOwner& owner);

}  // namespace aaa
