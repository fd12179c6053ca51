#include "fuzz/link/played_client.h"

#include <cstring>

#include "fuzz/info_record_target.h"
#include "fuzz/touch_ldap.h"

namespace fuzz {
namespace {

template <class Record>
void read_record(Record* record) {
  touch(record, sizeof *record);
  touch_items(*record);
}

template <class Record>
void read_with_name(Record* record, char* group_name) {
  read_record(record);
  touch(group_name, AAA_GROUP_NAME_SIZE);
  require(std::memchr(group_name, '\0', AAA_GROUP_NAME_SIZE) != nullptr);
}

template <std::size_t Size>
void read_body(const void* body) {
  touch(body, Size);
}

int give_verdict(const void* body, std::uint32_t word, std::uint32_t length) {
  touch(body, length);
  return static_cast<int>(word & 1);
}

void tell_online_info(void* answer, const void* body) {
  std::memset(answer, 0x5a, 8);
  if (body != nullptr) touch(body, 1);
}

void update_password(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  for (const char* text : {s1, s2, s3})
    touch(text, std::strlen(text) + 1);
  aaa_add_user_pwd_update_result(code, 0);
}

}  // namespace

reg_info played_client() {
  aaa_add_user_pwd_update_req_handle(update_password);
  reg_info info = {};
  std::strcpy(info.model_name, "fuzz");
  info.notify_result_cb = read_record<result_info>;
  info.notify_del_msg_cb = read_body<560>;
  info.notify_coa_req_cb = read_body<720>;
  info.ldap_search_result_cb = read_record<ldap_search_result>;
  info.authen_group_req_cb = read_with_name<authen_info>;
  info.author_group_req_cb = read_with_name<author_info>;
  info.acct_group_req_cb = read_with_name<acct_info>;
  info.del_msg_req_cb = [](std::uint32_t w0, std::uint32_t w1, std::uint32_t) { ask_aaad(w0, w1); };
  info.gs_valid_req_cb = give_verdict;
  info.get_online_info_cb = tell_online_info;
  info.enable_authen_cb = read_record<authen_info>;
  info.add_radext_result_cb = read_body<24>;
  info.localeap_authen_cb = read_record<authen_info>;
  info.ldap_search_entry_req_cb = read_with_name<ldap_search_info>;
  info.aaa_event_cb = [](std::uint32_t event) { return static_cast<int>(event); };
  return info;
}

}  // namespace fuzz
