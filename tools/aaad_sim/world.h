// All that an answer may look at and change.
#pragma once

#include "local_users.h"
#include "memory.h"
#include "settings.h"

namespace aaa_sim {

struct World {
  Settings& settings;
  Memory& memory;
  LocalUsers& local_users;
};

}  // namespace aaa_sim
