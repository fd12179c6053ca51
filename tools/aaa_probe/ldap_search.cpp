#include "ldap_search.h"

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <optional>

#include "bytes.h"
#include "exchange.h"

namespace aaa_probe {
namespace {

struct LdapAnswer {
  std::uint32_t code = 0;  // 0, or 1 after an error
  std::string error = {};
  std::vector<Record> entries = {};
};

std::mutex mutex;
std::condition_variable is_delivered;
std::uint32_t expected_session = 0;
std::optional<LdapAnswer> delivered;
bool is_lost = false;

void on_answer(ldap_search_result* result) {
  const std::lock_guard lock(mutex);
  if (result->head.session_id != expected_session) return;
  delivered = LdapAnswer{.code = result->head.words3_a[0],
                         .error = std::string(view(result->item_309)),
                         .entries = records_of(*result)};
  is_delivered.notify_all();
}

int on_search_event(std::uint32_t event) {
  const std::lock_guard lock(mutex);
  is_lost = is_lost || event == AAA_EVENT_CONNECTION_LOST;
  is_delivered.notify_all();
  return 0;
}

reg_info registration() {
  reg_info record{};
  record.ldap_search_result_cb = on_answer;
  record.aaa_event_cb = on_search_event;
  return record;
}

LdapAnswer wait_for_answer(std::uint32_t timeout) {
  std::unique_lock lock(mutex);
  (void)is_delivered.wait_for(lock, std::chrono::seconds(timeout),
                              [] { return delivered.has_value() || is_lost; });
  if (delivered) return *delivered;
  if (is_lost) throw Failure(Status::no_daemon, "the connection to aaad was lost");
  throw_timed_out(timeout);
}

void send(const LdapSearch& search, std::uint32_t session_id) {
  std::vector<aaa_item> attributes;
  for (const std::string& name : search.attributes)
    attributes.push_back(item_of(name));
  ldap_search_info question{};
  question.head.session_id = session_id;
  question.head.attr_count = static_cast<std::uint32_t>(attributes.size());
  question.item_301 = item_of(search.base);
  question.item_307 = item_of(search.filter);
  question.attributes = attributes.data();
  const std::int32_t sent = aaa_user_req_search_ldap_entry(&question);
  if (sent != 0)
    throw Failure(Status::no_daemon,
                  std::string("the request was not sent: ") + std::strerror(-sent));
}

// Several values of one name become an array.
void add_value(Record& entry, const std::string& name, std::string_view value) {
  const std::string key = is_text(value) ? name : name + "_hex";
  Record text = is_text(value) ? std::string(value) : to_hex(value);
  if (!entry.contains(key)) {
    entry[key] = std::move(text);
    return;
  }
  if (!entry[key].is_array()) entry[key] = Record::array({entry[key]});
  entry[key].push_back(std::move(text));
}

Record record_of(const ldap_dn_entry& entry) {
  Record record;
  put_bytes(record, "dn", view(entry.dn));
  for (std::uint32_t i = 0; i < entry.pair_count; ++i) {
    const std::string_view name = view(entry.pairs[i].name);
    add_value(record, is_text(name) ? std::string(name) : to_hex(name), view(entry.pairs[i].value));
  }
  return record;
}

}  // namespace

std::vector<Record> records_of(const ldap_search_result& result) {
  std::vector<Record> records;
  for (std::uint32_t i = 0; i < result.head.entry_count; ++i)
    records.push_back(record_of(result.entries[i]));
  return records;
}

Status search_ldap(const LdapSearch& search, const Context& context) {
  const Connection connection(context.connection, registration());
  const std::uint32_t session_id = connection.new_session_id();
  {
    const std::lock_guard lock(mutex);
    expected_session = session_id;
  }
  send(search, session_id);
  const LdapAnswer found = wait_for_answer(context.connection.timeout);
  for (const Record& entry : found.entries)
    context.output.print(entry);
  if (found.code == 0) return Status::accepted;
  Record record = {{"result", "error"}};
  put_bytes(record, "error", found.error);
  context.output.print(record);
  return Status::rejected;
}

}  // namespace aaa_probe
