// Group requests: which server group shall serve this user?
#include "aaa_client.h"
#include "runtime/group_name.h"
#include "session/client_state.h"

namespace {

// The three requests differ only in their record and callback.
template <class Record>
void ask_client(const aaa_ipc_header* header, const void* body, void (*const& slot)(Record*, char*),
                std::uint32_t (*parse)(Record**, const void*, std::int32_t),
                void (*release)(Record*)) {
  aaa::GroupMessage message;
  if (!message.split(header, body)) return;
  Record* record = nullptr;
  if (parse(&record, message.record, message.record_length) == 0) return;
  const auto callback = aaa::load(slot);
  if (callback != nullptr) callback(record, message.group_name);
  release(record);
}

}  // namespace

void aaalib_ipc_msg_proc_authen_group_req(const aaa_ipc_header* header, const void* body) {
  ask_client<authen_info>(header, body, g_aaa_client_cb.authen_group_req_cb, aaa_parse_authen_info,
                          aaa_free_authen_info);
}

void aaalib_ipc_msg_proc_author_group_req(const aaa_ipc_header* header, const void* body) {
  ask_client<author_info>(header, body, g_aaa_client_cb.author_group_req_cb, aaa_parse_author_info,
                          aaa_free_author_info);
}

void aaalib_ipc_msg_proc_acct_group_req(const aaa_ipc_header* header, const void* body) {
  ask_client<acct_info>(header, body, g_aaa_client_cb.acct_group_req_cb, aaa_parse_acct_info,
                        aaa_free_acct_info);
}
