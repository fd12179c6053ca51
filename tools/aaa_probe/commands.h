// What the commands have in common.
#pragma once

#include <string>

#include "connection.h"
#include "output.h"
#include "status.h"

namespace aaa_probe {

struct Context {
  ConnectionOptions connection;
  Output& output;
};

// Where a user is: texts of a request that authentication and accounting share.
struct Places {
  std::string nas_port_id = {};
  std::string called_station = {};
  std::string calling_station = {};
  std::string chargeable_user_identity = {};
};

// A registration for requests: with the callbacks that ask() needs.
reg_info registration_for_results();

}  // namespace aaa_probe
