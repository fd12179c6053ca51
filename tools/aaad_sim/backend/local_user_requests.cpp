#include "backend/local_user_requests.h"

#include <algorithm>
#include <array>

#include "backend/results.h"
#include "wire/body.h"
#include "wire/records.h"

namespace aaa_sim {
namespace {

constexpr std::size_t kMinPasswordLength = 8;

// The values of items 1 to `count`, with 16-bit types and lengths.
template <std::size_t count>
std::array<View, count> read_items(View bytes) {
  std::array<View, count> items;
  for (BodyReader body(bytes); body.left() > 0;) {
    const std::uint16_t type = body.short_word();
    const View value = body.bytes(body.short_word());
    if (type >= 1 && type <= count) items[type - 1u] = value;
  }
  return items;
}

std::string text(View bytes) {
  return {bytes.begin(), bytes.end()};
}

Reply word_reply(std::uint32_t type, std::uint32_t word) {
  return {Role::request, type, 0, encode_words({&word, 1})};
}

const std::string& password_of(const LocalUser& user) {
  return user.string_19.empty() ? user.string_18 : user.string_19;
}

void set_password(LocalUser& user, const std::string& password) {
  const std::string previous = password_of(user);
  if (!previous.empty()) user.passwords.push_back(previous);
  user.string_18.clear();
  user.string_19 = password;
  user.flag_4 = false;
}

bool used_before(const LocalUser& user, const std::string& password) {
  return password == password_of(user) || std::ranges::count(user.passwords, password) != 0;
}

PasswordSecurity security_of(const std::string& password, const std::string& name,
                             const std::optional<LocalUser>& user) {
  if (password.size() < kMinPasswordLength) return PasswordSecurity::too_short;
  const bool has_name = !name.empty() && password.find(name) != std::string::npos;
  if (has_name || name.find(password) != std::string::npos) return PasswordSecurity::contains_name;
  if (user && used_before(*user, password)) return PasswordSecurity::used_before;
  return PasswordSecurity::good;
}

bool can_log_in(const LocalUser& user, std::string_view password) {
  return user.flag_4 || password == password_of(user);
}

Bytes log_in(LocalUsers& users, std::uint32_t session_id, View body) {
  const AuthenInfo request = decode_authen(body);
  if (!request) return rejection(session_id, "Unreadable request");
  const std::string name(text_of(request->chars65_a));
  const auto user = users.find(name);
  if (!user) return rejection(session_id, "Unknown user");
  if (!can_log_in(*user, text_of(request->user_password))) return rejection(session_id, "");
  return acceptance(session_id, name);
}

Bytes authorize(LocalUsers& users, std::uint32_t session_id, View body) {
  const AuthorInfo request = decode_author(body);
  if (!request) return rejection(session_id, "Unreadable request");
  const std::string name = request->ext_text == nullptr ? "" : request->ext_text;
  if (!users.find(name)) return rejection(session_id, "Unknown user");
  return acceptance(session_id, name);
}

PasswordChange change(LocalUsers& users, const std::string& name, const std::string& old_password,
                      const std::string& new_password) {
  auto user = users.find(name);
  if (!user) return PasswordChange::unknown_user;
  if (!can_log_in(*user, old_password)) return PasswordChange::wrong_password;
  if (new_password.empty() || new_password.size() > kMaxLocalPassword ||
      used_before(*user, new_password))
    return PasswordChange::bad_password;
  set_password(*user, new_password);
  users.put(*user);
  return PasswordChange::done;
}

Grant decide(LocalUsers& users, const std::string& name, const std::string& path,
             std::uint32_t rights) {
  const auto user = users.find(name);
  if (!user) return Grant::unknown_user;
  if (!path.starts_with('/')) return Grant::bad_path;
  return (rights & ~user->value_5) == 0 ? Grant::given : Grant::refused;
}

bool replace(LocalUsers& users, const LocalUser& user) {
  if (!users.find(user.name)) return false;
  users.put(user);
  return true;
}

}  // namespace

Replies check_password(Backend& backend, const Request& request) {
  const auto [name, password] = read_items<2>(request.body);
  const PasswordSecurity security =
      security_of(text(password), text(name), backend.local_users.find(text(name)));
  return {word_reply(AAA_MSG_LOCAL_QUERY_PWD_RESP, static_cast<std::uint32_t>(security))};
}

Replies authenticate_local_user(Backend& backend, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {
      {Role::request, AAA_MSG_LOCAL_AUTHEN_REQ, id, log_in(backend.local_users, id, request.body)}};
}

Replies authorize_local_user(Backend& backend, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::request, AAA_MSG_LOCAL_AUTHOR_REQ, id,
           authorize(backend.local_users, id, request.body)}};
}

Replies change_local_password(Backend& backend, const Request& request) {
  const auto [name, old_password, new_password] = read_items<3>(request.body);
  const PasswordChange result =
      change(backend.local_users, text(name), text(old_password), text(new_password));
  return {word_reply(AAA_MSG_LOCAL_CHANGE_PWD_REQ, static_cast<std::uint32_t>(result))};
}

Replies grant_files(Backend& backend, const Request& request) {
  const auto [name, path, rights] = read_items<3>(request.body);
  const Grant grant =
      decide(backend.local_users, text(name), text(path), BodyReader(rights).word());
  return {{Role::request, AAA_MSG_LOCAL_FS_GRANT, 0, {static_cast<std::uint8_t>(grant)}}};
}

Replies fetch_local_user(Backend& backend, const Request& request) {
  const auto user = backend.local_users.find(text(request.body));
  return {{Role::request, AAA_MSG_LOCAL_COPY_USER, 0, user ? encode_local_user(*user) : Bytes{}}};
}

Replies update_local_user(Backend& backend, const Request& request) {
  const bool replaced = replace(backend.local_users, decode_local_user(request.body));
  return {{Role::request, AAA_MSG_LOCAL_UPDATE_USER, 0, {std::uint8_t{replaced}}}};
}

}  // namespace aaa_sim
