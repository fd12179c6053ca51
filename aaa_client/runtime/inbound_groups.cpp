// Group requests: which server group shall serve this user?
#include "aaa_client.h"
#include "runtime/group_name.h"
#include "runtime/inbound.h"

namespace aaa {
namespace {

// The three requests differ only in their record and callback.
template <class Record>
void ask_client(const Inbound& message, void (*const& slot)(Record*, char*),
                std::uint32_t (*parse)(Record**, const void*, std::int32_t),
                void (*release)(Record*)) {
  GroupMessage group;
  if (!group.split(message)) return;
  Record* record = nullptr;
  if (parse(&record, group.record, group.record_length) == 0) return;
  const auto callback = message.callback(slot);
  if (callback != nullptr) callback(record, group.group_name);
  release(record);
}

}  // namespace

void handle_authen_group_req(const Inbound& message) {
  ask_client<authen_info>(message, g_aaa_client_cb.authen_group_req_cb, aaa_parse_authen_info,
                          aaa_free_authen_info);
}

void handle_author_group_req(const Inbound& message) {
  ask_client<author_info>(message, g_aaa_client_cb.author_group_req_cb, aaa_parse_author_info,
                          aaa_free_author_info);
}

void handle_acct_group_req(const Inbound& message) {
  ask_client<acct_info>(message, g_aaa_client_cb.acct_group_req_cb, aaa_parse_acct_info,
                        aaa_free_acct_info);
}

}  // namespace aaa
