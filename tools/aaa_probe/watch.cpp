#include "watch.h"

#include <atomic>
#include <csignal>
#include <cstring>

#include "bytes.h"
#include "ldap_search.h"

namespace aaa_probe {
namespace {

// Where the callbacks print, while the program watches.
std::atomic<Output*> output = nullptr;

void print(const Record& record) {
  if (Output* const target = output.load()) target->print(record);
}

std::uint32_t word_at(const void* body, std::size_t offset) {
  std::uint32_t word;
  std::memcpy(&word, static_cast<const char*>(body) + offset, sizeof word);
  return word;
}

void put_text_at(Record& record, const std::string& name, const void* body, std::size_t offset) {
  constexpr std::size_t kText = 65;
  put_bytes(record, name, view_of_member(static_cast<const char*>(body) + offset, kText));
}

const char* name_of_event(std::uint32_t event) {
  switch (event) {
    case AAA_EVENT_CONNECTION_LOST:
      return "connection lost";
    case AAA_EVENT_REGISTERED:
      return "registered";
    case AAA_EVENT_REREGISTERED:
      return "registered again";
    case AAA_EVENT_METHOD_LISTS_CHANGED:
      return "method lists changed";
    case AAA_EVENT_ACCT_STATUS_CHANGED:
      return "acct_status changed";
    case AAA_EVENT_ACCT_PERIOD_CHANGED:
      return "acct_period changed";
    case AAA_EVENT_ACCT_START_FAIL_POLICY_CHANGED:
      return "acct_start_fail_policy changed";
    case AAA_EVENT_LOGIN_SERVICE_CHECK_MODE_CHANGED:
      return "login_service_check_mode changed";
    default:
      return "unknown";
  }
}

// The library raises the event of its registration also without aaad: watch() tells it instead.
int on_event(std::uint32_t event) {
  if (event != AAA_EVENT_REGISTERED) print({{"event", name_of_event(event)}});
  return 0;
}

void on_deletion(const void* body) {
  Record record = {
      {"notice", "deletion"}, {"kind", word_at(body, 0)}, {"session", word_at(body, 4)}};
  put_text_at(record, "user", body, 8);
  print(record);
}

void on_coa(const void* body) {
  Record record = {{"notice", "change of authorization"}, {"session", word_at(body, 0)}};
  put_text_at(record, "user", body, 8);
  put_number(record, "session_timeout", word_at(body, 4));
  put_number(record, "tunnel_type", word_at(body, 76));
  put_number(record, "tunnel_medium_type", word_at(body, 80));
  put_text_at(record, "vlan", body, 84);
  print(record);
}

void on_result(result_info* result) {
  print({{"message", "result"}, {"session", result->sub.session_id}, {"code", result->sub.num_a}});
}

Record user_record(const char* message, std::uint32_t session_id, const char (&user)[65]) {
  Record record = {{"message", message}, {"session", session_id}};
  put_bytes(record, "user", view_of_member(user, sizeof user));
  return record;
}

Record with_group(Record record, const char* group) {
  put_bytes(record, "group", view_of_member(group, AAA_GROUP_NAME_SIZE));
  return record;
}

void on_authen_group(authen_info* authen, char* group) {
  print(with_group(user_record("authentication by a group", authen->session_id, authen->chars65_a),
                   group));
}

void on_author_group(author_info* author, char* group) {
  print(with_group({{"message", "authorization by a group"}, {"session", author->session_id}},
                   group));
}

void on_acct_group(acct_info* acct, char* group) {
  print(with_group(user_record("accounting by a group", acct->session_id, acct->chars65_a), group));
}

void on_enable(authen_info* authen) {
  print(user_record("enable authentication", authen->session_id, authen->chars65_a));
}

void on_local_eap(authen_info* authen) {
  print(user_record("local EAP authentication", authen->session_id, authen->chars65_a));
}

void on_deletion_request(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
  print({{"message", "deletion request"}, {"word", Record::array({w0, w1, w2})}});
}

void on_radext_result(const void* body) {
  Record words = Record::array();
  for (std::size_t offset = 0; offset < 24; offset += 4)
    words.push_back(word_at(body, offset));
  print({{"message", "result of a RADIUS extension"}, {"word", words}});
}

void on_ldap_question(ldap_search_info* search, char* group) {
  Record record = {{"message", "LDAP search"}, {"session", search->head.session_id}};
  put_bytes(record, "base", view(search->item_301));
  put_bytes(record, "filter", view(search->item_307));
  print(with_group(record, group));
}

void on_ldap_answer(ldap_search_result* result) {
  print({{"message", "LDAP answer"},
         {"session", result->head.session_id},
         {"entries", result->head.entry_count}});
}

// The other two strings can be passwords.
void on_password_update(std::uint32_t code, const char* user, const char*, const char*) {
  Record record = {{"message", "password update"}, {"code", code}};
  put_bytes(record, "user", user);
  print(record);
}

reg_info registration() {
  aaa_add_user_pwd_update_req_handle(on_password_update);
  reg_info record{};
  record.notify_result_cb = on_result;
  record.notify_del_msg_cb = on_deletion;
  record.notify_coa_req_cb = on_coa;
  record.ldap_search_result_cb = on_ldap_answer;
  record.authen_group_req_cb = on_authen_group;
  record.author_group_req_cb = on_author_group;
  record.acct_group_req_cb = on_acct_group;
  record.del_msg_req_cb = on_deletion_request;
  record.enable_authen_cb = on_enable;
  record.add_radext_result_cb = on_radext_result;
  record.localeap_authen_cb = on_local_eap;
  record.ldap_search_entry_req_cb = on_ldap_question;
  record.aaa_event_cb = on_event;
  return record;
}

// Before the first thread starts, so that none of them takes the signals.
sigset_t block_ending_signals() {
  sigset_t signals;
  (void)::sigemptyset(&signals);
  (void)::sigaddset(&signals, SIGINT);
  (void)::sigaddset(&signals, SIGTERM);
  (void)::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

}  // namespace

Status watch(const Context& context) {
  const sigset_t signals = block_ending_signals();
  output = &context.output;
  const Connection connection(context.connection, registration());
  print({{"event", name_of_event(AAA_EVENT_REGISTERED)}});
  int number = 0;
  (void)::sigwait(&signals, &number);
  output = nullptr;
  return Status::accepted;
}

}  // namespace aaa_probe
