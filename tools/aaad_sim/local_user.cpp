#include "local_user.h"

namespace aaa_sim {

void set_password(LocalUser& user, const std::string& password) {
  const std::string old = password_of(user);
  if (!old.empty()) user.passwords.push_back(old);
  user.string_18.clear();
  user.string_19 = password;
  user.flag_4 = false;
}

}  // namespace aaa_sim
