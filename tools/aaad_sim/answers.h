// What is answered to which message.
#pragma once

#include "world.h"

namespace aaa_sim {

// The answer to a request of a registering or registered client; empty for messages that have
// none. Changes what the request is to change. Throws BadBody for a body that is cut short, and
// DatabaseError.
Replies answer(World& world, const Request& request);

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
