#include "backend/queries.h"

#include <algorithm>
#include <array>

#include "backend/directory.h"
#include "wire/body.h"

namespace aaa_sim {
namespace {

constexpr std::size_t kServerMib = 392;

Replies word_replies(std::uint32_t type, std::uint32_t word) {
  return {{Role::request, type, 0, encode_words({&word, 1})}};
}

PasswordChange change_password(std::vector<User>& users, const std::string& name,
                               const std::string& old_password, const std::string& new_password) {
  const auto user = std::ranges::find(users, name, &User::name);
  if (user == users.end()) return PasswordChange::unknown_user;
  if (user->password != old_password) return PasswordChange::wrong_password;
  if (new_password.empty()) return PasswordChange::bad_password;
  user->password = new_password;
  return PasswordChange::done;
}

std::string prefixed_text(BodyReader& body) {
  return body.text(body.word());
}

}  // namespace

Replies query_method_list(Backend& backend, const Request& request) {
  BodyReader body(request.body);
  body.bytes(12);
  const std::string name = body.last_text();
  const bool found =
      std::ranges::count(backend.settings.method_lists, name, &MethodList::name) != 0;
  return word_replies(AAA_MSG_MLIST_EXISTED_RESP, found ? 1 : 0);
}

Replies query_method_list_state(Backend& backend, const Request& request) {
  BodyReader body(request.body);
  const std::uint32_t kind = body.word();
  const bool any_name = body.left() == 0;
  const std::string name = body.last_text();
  const auto& lists = backend.settings.method_lists;
  const auto list = std::ranges::find_if(lists, [&](const MethodList& candidate) {
    return candidate.kind == kind && (any_name || candidate.name == name);
  });
  return word_replies(AAA_MSG_AUTHEN_MLIST_STATE_RESULT, list == lists.end() ? 0 : list->state);
}

Replies query_server_statistic(Backend& backend, const Request& request) {
  BodyReader body(request.body);
  body.bytes(kServerMib);
  const auto statistic = backend.settings.server_statistics.find(body.word());
  const bool known = statistic != backend.settings.server_statistics.end();
  return word_replies(AAA_MSG_SERVER_MIB_RESP, known ? statistic->second : 0);
}

Replies update_password(Backend& backend, const Request& request) {
  BodyReader body(request.body);
  const std::uint32_t first_word = body.word();
  body.word();
  const std::string name = prefixed_text(body);
  const std::string old_password = prefixed_text(body);
  const std::string new_password = prefixed_text(body);
  const PasswordChange change =
      change_password(backend.settings.users, name, old_password, new_password);
  const std::array<std::uint32_t, 2> answer{first_word, static_cast<std::uint32_t>(change)};
  return {{Role::request, AAA_MSG_UPDATE_USER_PWD_RESP, 0, encode_words(answer)}};
}

Replies search_directory(Backend& backend, const Request& request) {
  const LdapAnswer answer = answer_search(backend.settings.directory, decode_search(request.body));
  return {
      {Role::event, AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, request.header.id, encode_answer(answer)}};
}

}  // namespace aaa_sim
