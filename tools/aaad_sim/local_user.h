// A user of the local user database: the record that clients fetch and write back.
//
// What the simulator makes of the plain fields: a user signs in with the password in string_19 or,
// when that is empty, in string_18, and without one when flag_4 is set. value_5 holds the rights
// that file-service grants are checked against. `passwords` are earlier ones, oldest first. All
// else is only kept.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace aaa_sim {

struct LocalUser {
  std::string name = {};
  std::uint32_t value_2 = 0;
  std::string string_18 = {};
  std::string string_19 = {};
  bool flag_4 = false;
  bool flag_7 = false;
  std::vector<std::string> passwords = {};
  std::uint32_t value_5 = 0;
  bool flag_8 = false;
  bool flag_9 = false;
  std::uint32_t value_10 = 0;
  std::uint32_t value_12 = 0;
  std::uint32_t value_20 = 0;
  std::uint32_t value_13 = 0;

  bool operator==(const LocalUser&) const = default;
};

// The fields but for the name and the passwords, by the number of their item; the columns of the
// database are called the same.
template <typename Value>
struct LocalUserField {
  std::uint32_t type;
  const char* name;
  Value LocalUser::*member;
};

inline constexpr LocalUserField<std::uint32_t> kLocalUserNumbers[] = {
    {2, "value_2", &LocalUser::value_2},    {5, "value_5", &LocalUser::value_5},
    {10, "value_10", &LocalUser::value_10}, {12, "value_12", &LocalUser::value_12},
    {20, "value_20", &LocalUser::value_20}, {13, "value_13", &LocalUser::value_13},
};

inline constexpr LocalUserField<bool> kLocalUserFlags[] = {
    {4, "flag_4", &LocalUser::flag_4},
    {7, "flag_7", &LocalUser::flag_7},
    {8, "flag_8", &LocalUser::flag_8},
    {9, "flag_9", &LocalUser::flag_9},
};

inline constexpr LocalUserField<std::string> kLocalUserTexts[] = {
    {18, "string_18", &LocalUser::string_18},
    {19, "string_19", &LocalUser::string_19},
};

// The most characters of a name and of a password.
inline constexpr std::size_t kMaxLocalUserName = 64;
inline constexpr std::size_t kMaxLocalPassword = 128;

// The password that the user signs in with.
inline const std::string& password_of(const LocalUser& user) {
  return user.string_19.empty() ? user.string_18 : user.string_19;
}

// Keeps the old password among the earlier ones.
void set_password(LocalUser& user, const std::string& password);

}  // namespace aaa_sim
