#include "user.h"

#include <security/pam_ext.h>
#include <syslog.h>

#include <algorithm>
#include <cstring>

#include "limits.h"

namespace aaa_pam {

int get_user_name(const Call& call, const char** name) {
  const int result = pam_get_user(call.handle, name, nullptr);
  if (result != PAM_SUCCESS || *name == nullptr) {
    pam_syslog(call.handle, LOG_ERR, "no user name: %s", pam_strerror(call.handle, result));
    return PAM_CONV_ERR;
  }
  const std::size_t length = std::strlen(*name);
  if (length >= 1 && length <= kMaxName) return PAM_SUCCESS;
  pam_syslog(call.handle, LOG_NOTICE, "a user name of %zu bytes", length);
  return PAM_USER_UNKNOWN;
}

void copy_printable(const char* name, std::span<char> text) {
  std::size_t size = 0;
  for (; name[size] != '\0' && size + 1 < text.size(); ++size) {
    const auto byte = static_cast<unsigned char>(name[size]);
    text[size] = byte < ' ' || byte == 127 ? '?' : name[size];
  }
  text[size] = '\0';
}

void copy_item(const Call& call, int item, std::span<std::uint8_t> member) {
  const void* value = nullptr;
  if (pam_get_item(call.handle, item, &value) != PAM_SUCCESS || value == nullptr) return;
  const auto* const text = static_cast<const char*>(value);
  std::memcpy(member.data(), text, std::min(std::strlen(text), member.size()));
}

}  // namespace aaa_pam
