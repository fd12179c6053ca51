// Which message gets which answer.
#pragma once

#include "backend/backend.h"

namespace aaa_sim {

// A RequestHandler. Makes the change that is requested, and responds at once. Throws BadBody and
// DatabaseError.
void answer(Backend& backend, const Request& request, const Respond& respond);

}  // namespace aaa_sim
