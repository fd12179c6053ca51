// A local user as the items that cross: 32-bit type, 32-bit length that counts these 8 bytes,
// value.
#pragma once

#include "local_user.h"
#include "message.h"

namespace aaa_sim {

Bytes encode_local_user(const LocalUser& user);

// Fields without an item are left empty; unknown items are passed over. Throws BadBody when an
// item is cut short or has less than its own 8 bytes.
LocalUser decode_local_user(View body);

}  // namespace aaa_sim
