// Who logs in, and from where.
#pragma once

#include <cstdint>
#include <span>

#include "call.h"

namespace aaa_pam {

// Stores the user's name, which belongs to PAM. Returns PAM_SUCCESS; PAM_USER_UNKNOWN when the name
// is empty, or too long for a record: cut, it could be another user's; or PAM_CONV_ERR.
int get_user_name(const Call& call, const char** name);

// For the log, with question marks in place of control characters. Stops at the end of `text`.
void copy_printable(const char* name, std::span<char> text);

// Copies an item, such as PAM_RHOST, into a member of a record; what does not fit is cut off.
void copy_item(const Call& call, int item, std::span<std::uint8_t> member);

}  // namespace aaa_pam
