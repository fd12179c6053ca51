#include "backend/users_file.h"

#include <algorithm>
#include <limits>
#include <map>

#include "backend/toml_file.h"

namespace aaa_sim {
namespace {

using toml_file::fail;
using toml_file::fail_unknown;
using toml_file::read_number;
using toml_file::read_text;

constexpr std::size_t kMaxName = 64;
constexpr std::size_t kMaxValue = 65535;

struct TextField {
  const char* key;
  std::string User::*member;
  std::size_t max_size;
};

constexpr TextField kTextFields[] = {
    {"name", &User::name, kMaxName},
    {"password", &User::password, kMaxValue},
    {"reply_message", &User::reply_message, kMaxValue},
    {"state", &User::state, kMaxValue},
    {"eap_message", &User::eap_message, kMaxValue},
    {"class", &User::class_attribute, kMaxValue},
};

const std::map<std::string_view, Verdict> kVerdicts = {
    {"accept", Verdict::accept}, {"reject", Verdict::reject}, {"challenge", Verdict::challenge}};

Verdict read_verdict(const toml::key& key, const toml::node& value) {
  const auto found = kVerdicts.find(read_text(key, value, kMaxValue));
  if (found == kVerdicts.end()) fail(value, "result is not accept, reject or challenge");
  return found->second;
}

void read_field(User& user, const toml::key& key, const toml::node& value) {
  const auto* field = std::ranges::find(kTextFields, key.str(),
                                        [](const TextField& f) { return std::string_view(f.key); });
  if (field != std::end(kTextFields)) {
    user.*field->member = read_text(key, value, field->max_size);
  } else if (key == "result") {
    user.verdict = read_verdict(key, value);
  } else if (key == "session_timeout") {
    user.session_timeout = static_cast<std::uint32_t>(
        read_number(key, value, 0, std::numeric_limits<std::uint32_t>::max()));
  } else {
    fail_unknown(key, value);
  }
}

User read_user(const toml::node& node) {
  const toml::table* table = node.as_table();
  if (table == nullptr) fail(node, "not a [[user]] table");
  User user;
  for (const auto& [key, value] : *table)
    read_field(user, key, value);
  if (user.name.empty()) fail(node, "user without a name");
  if (!table->contains("password")) fail(node, "user " + user.name + " has no password");
  if (user.verdict == Verdict::challenge && user.state.empty())
    fail(node, "user " + user.name + " has the result challenge but no state");
  return user;
}

std::vector<User> read_users(const toml::table& file) {
  std::vector<User> users;
  for (const auto& [key, value] : file) {
    const toml::array* list = value.as_array();
    if (key != "user" || list == nullptr)
      fail(value, "unknown key " + std::string(key.str()) + ", expected [[user]] tables");
    for (const toml::node& node : *list) {
      users.push_back(read_user(node));
      const auto same = std::ranges::find(users, users.back().name, &User::name);
      if (same != users.end() - 1) fail(node, "duplicate user " + users.back().name);
    }
  }
  return users;
}

}  // namespace

std::vector<User> load_users(const std::string& path) {
  std::vector<User> users;
  toml_file::read_file(path, [&](const toml::table& file) { users = read_users(file); });
  return users;
}

}  // namespace aaa_sim
