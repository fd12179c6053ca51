// Every kind of notice and question that aaad may send by itself, and a client that hears them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "aaa_client.h"
#include "wire/message.h"

namespace soak {

struct Notice {
  std::uint32_t type;
  aaa_sim::Bytes body;
};

// One of each kind.
std::vector<Notice> all_notices();

// Sets the callbacks that hear them, and those of password updates and method lists.
void hear_notices(reg_info& info);

// Notices of a type heard since forget_notices(), and what was wrong with them.
std::size_t notices_heard(std::uint32_t type);
std::vector<std::string> notice_complaints();
void forget_notices();

}  // namespace soak
