// A user of the local user database, and the body that clients fetch and write back: items of a
// 32-bit type, a 32-bit length that includes these 8 bytes, and a value.
//
// aaad-sim's use of the fields: a user logs in with the password in string_19 or, if that is empty,
// in string_18, and without a password if flag_4 is set. File grants are checked against the rights
// in value_5. `passwords` are previous passwords, oldest first. All else is only stored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wire/message.h"

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

// The fields except name and passwords: type of their item, column in the database, member.
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

// In characters.
inline constexpr std::size_t kMaxLocalUserName = 64;
inline constexpr std::size_t kMaxLocalPassword = 128;

Bytes encode_local_user(const LocalUser& user);

// Fields without an item stay empty; unknown items are skipped. Throws BadBody when an item is
// truncated or shorter than its header.
LocalUser decode_local_user(View body);

}  // namespace aaa_sim
