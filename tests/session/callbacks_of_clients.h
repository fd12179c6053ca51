// Callbacks of a client that differ, are never called, and are looked up in the connection record.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

#include "aaa_client.h"

namespace test {

// Fifteen callbacks: the numbers from `base` on.
inline reg_info with_all_callbacks(reg_info info, std::uintptr_t base = 0x1000) {
  const auto pick = [&](auto&... slots) {
    ((slots = reinterpret_cast<std::remove_reference_t<decltype(slots)>>(base++)), ...);
  };
  pick(info.notify_result_cb, info.reserved_cb, info.notify_del_msg_cb, info.notify_coa_req_cb,
       info.authen_group_req_cb, info.author_group_req_cb, info.acct_group_req_cb,
       info.del_msg_req_cb, info.gs_valid_req_cb, info.get_online_info_cb, info.enable_authen_cb,
       info.add_radext_result_cb, info.localeap_authen_cb, info.ldap_search_result_cb,
       info.ldap_search_entry_req_cb);
  return info;
}

// The connection record's, but those of LDAP searches and the event callback.
inline std::vector<std::uintptr_t> ordinary_callbacks() {
  const auto numbers = [](auto... slots) {
    return std::vector<std::uintptr_t>{reinterpret_cast<std::uintptr_t>(slots)...};
  };
  const aaa_client_cb& cb = g_aaa_client_cb;
  return numbers(cb.notify_result_cb, cb.reserved_cb, cb.notify_del_msg_cb, cb.notify_coa_req_cb,
                 cb.authen_group_req_cb, cb.author_group_req_cb, cb.acct_group_req_cb,
                 cb.del_msg_req_cb, cb.gs_valid_req_cb, cb.get_online_info_cb, cb.enable_authen_cb,
                 cb.add_radext_result_cb, cb.localeap_authen_cb);
}
inline std::vector<std::uintptr_t> ldap_callbacks() {
  return {reinterpret_cast<std::uintptr_t>(g_aaa_client_cb.ldap_search_result_cb),
          reinterpret_cast<std::uintptr_t>(g_aaa_client_cb.ldap_search_entry_req_cb)};
}

// What they are after a registration with all of them, and after none.
inline std::vector<std::uintptr_t> ordinary_numbers(std::uintptr_t base = 0x1000) {
  std::vector<std::uintptr_t> numbers(13);
  for (std::uintptr_t& number : numbers)
    number = base++;
  return numbers;
}
inline std::vector<std::uintptr_t> ldap_numbers(std::uintptr_t base = 0x1000) {
  return {base + 13, base + 14};
}
inline const std::vector<std::uintptr_t> no_ordinary_callbacks(13, 0);

}  // namespace test
