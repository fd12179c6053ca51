// All that answers are made from and that requests change.
#pragma once

#include <utility>

#include "backend/local_users.h"
#include "backend/reports.h"
#include "backend/settings.h"

namespace aaa_sim {

struct Backend {
  explicit Backend(Settings initial)
      : settings(std::move(initial)), local_users(settings.local_users_file) {}

  Settings settings;
  Reports reports;
  LocalUsers local_users;
};

}  // namespace aaa_sim
