// The heartbeat, which finds a silent aaad, and the recovery of a lost link. Two drivers use both:
// the receive thread, which sleeps between attempts, and agent mode, which schedules tasks on the
// client's loop.
#pragma once

#include <cstdint>

#include "aaa_client.h"
#include "session/state/link.h"
#include "transport/message.h"

namespace aaa {

// Heartbeats are exchanged only with an id in the range that aaad monitors.
bool heartbeat_is_kept();

// Whether no heartbeat has arrived for more than 180 seconds (other messages do not count), and
// whether the last heartbeat was sent more than 60 seconds ago.
bool aaad_is_silent(std::uint32_t now);
bool heartbeat_is_due(std::uint32_t now);

// Restarts the silence limit from now, with no heartbeat sent yet.
void rearm_heartbeat();

// Sends a heartbeat on the given link and notes `now`, unless that link has ended. A failed write
// is ignored.
void send_heartbeat(LinkNumber link, std::uint32_t now);

// What differs between the drivers.
struct RecoveryRules {
  MessageReader reader;
  unsigned pause_seconds;                // between two attempts
  bool releases_waiter;                  // a failed read ends the wait in aaa_user_get_result()
  aaa_reg_state state_after_loss;        // until the first attempt
  aaa_client_event event_after_success;  // raised when an attempt succeeds
};
extern const RecoveryRules thread_rules;
extern const RecoveryRules loop_rules;

// The event socket as seen at the start of an iteration or task.
struct Watched {
  LinkNumber link;
  std::int32_t fd;
};
Watched watched_socket();

enum class Damage {
  link_lost,           // and closed: connect and register again
  none,                // continue
  registration_ended,  // stop, touching nothing
};

// Closes the link if `error` means that it is lost. Called when reading has failed or aaad is
// silent; 0 is an error that does not break the connection.
Damage give_up_lost_link(const LinkOwner& owner, const Watched& watched, std::int32_t error);

enum class Attempt { registered, failed, registration_ended };

// One attempt to connect and register. The next two functions hold aaa_lib_lock throughout, so that
// no deregistration can come in between.
Attempt try_first_time(const LinkOwner& owner);
// The same after a loss: sets state 5 on failure, unless the client has deregistered.
Attempt try_again(const LinkOwner& owner);

}  // namespace aaa
