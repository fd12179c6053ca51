#include "wire/registration.h"

namespace aaa_sim {

Registration parse_registration(View body) {
  if (body.size() < 3 || body.back() != 0) return {};
  const auto role = static_cast<Role>(body.front());
  if (role != Role::request && role != Role::event) return {};
  return {role, std::string(body.begin() + 1, body.end() - 1)};
}

}  // namespace aaa_sim
