// What is answered to which message.
#pragma once

#include "settings.h"

namespace aaa_sim {

// The answer to a request of a registering or registered client; empty for messages that have
// none. Granting session ids moves settings.next_session_id on.
Replies answer(Settings& settings, const Request& request);

// The body of a register request, taken apart; the role is none when it is broken.
struct Registration {
  Role role = Role::none;
  std::string model;
};

Registration parse_registration(View body);

// The answers to send, and what then becomes of the connection that asked.
struct Outcome {
  Replies replies;
  bool close = false;
};

Outcome spoil(Fault fault, Replies replies);

}  // namespace aaa_sim
