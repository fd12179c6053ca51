#include "options.h"

#include <security/pam_ext.h>
#include <syslog.h>

#include <cstdlib>
#include <cstring>

#include "limits.h"

namespace aaa_pam {
namespace {

// Read by pam_get_authtok().
constexpr const char* kOptionsOfLibpam[] = {"use_first_pass", "try_first_pass", "use_authtok"};

// Connecting may take all but the 2 seconds that deregistering needs while aaad is away.
constexpr unsigned long kMinTimeout = 3;
constexpr unsigned long kMaxTimeout = 120;

// The highest number stands for "no user" in system calls.
constexpr unsigned long kMaxUid = UINT32_MAX - 1;

// The value of an argument "name=value"; null for another argument.
const char* value_of(const char* argument, const char* name) {
  const std::size_t length = std::strlen(name);
  const bool matches = std::strncmp(argument, name, length) == 0 && argument[length] == '=';
  return matches ? argument + length + 1 : nullptr;
}

bool parse_number(const char* text, unsigned long least, unsigned long most,
                  std::uint32_t& number) {
  if (*text < '0' || *text > '9') return false;
  char* end = nullptr;
  const unsigned long value = std::strtoul(text, &end, 10);
  if (*end != '\0' || value < least || value > most) return false;
  number = static_cast<std::uint32_t>(value);
  return true;
}

bool parse_directory(const char* value, Options& options) {
  options.directory = value;
  return *value == '/' && std::strlen(value) <= kMaxDirectory;
}

bool parse_model(const char* value, Options& options) {
  options.model = value;
  return *value != '\0' && std::strlen(value) <= kMaxModel;
}

bool parse_uid(const char* value, Options& options) {
  return parse_number(value, 0, kMaxUid, options.aaad_uid);
}

bool parse_timeout(const char* value, Options& options) {
  return parse_number(value, kMinTimeout, kMaxTimeout, options.timeout);
}

struct ValueOption {
  const char* name;
  bool (*parse)(const char* value, Options& options);
};

constexpr ValueOption kValueOptions[] = {
    {"directory", parse_directory},
    {"aaad_uid", parse_uid},
    {"timeout", parse_timeout},
    {"model", parse_model},
};

struct Switch {
  const char* name;
  bool Options::*member;
};

constexpr Switch kSwitches[] = {
    {"challenge_echo", &Options::challenge_echo},
    {"require_accounting", &Options::require_accounting},
    {"nodelay", &Options::nodelay},
    {"debug", &Options::debug},
};

bool belongs_to_libpam(const char* argument) {
  for (const char* name : kOptionsOfLibpam) {
    if (std::strcmp(argument, name) == 0) return true;
  }
  return value_of(argument, "authtok_type") != nullptr;
}

bool parse(const char* argument, Options& options) {
  for (const Switch& known : kSwitches) {
    if (std::strcmp(argument, known.name) != 0) continue;
    options.*known.member = true;
    return true;
  }
  for (const ValueOption& known : kValueOptions) {
    const char* const value = value_of(argument, known.name);
    if (value != nullptr) return known.parse(value, options);
  }
  return belongs_to_libpam(argument);
}

}  // namespace

bool parse_options(pam_handle_t* handle, int count, const char** arguments, Options& options) {
  for (int i = 0; i < count; ++i) {
    if (parse(arguments[i], options)) continue;
    pam_syslog(handle, LOG_ERR, "argument not understood: %s", arguments[i]);
    return false;
  }
  return true;
}

}  // namespace aaa_pam
