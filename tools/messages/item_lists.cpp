// Items and heads that are not part of a layout: of messages, of LDAP searches, of local users, of
// requests about passwords, files and groups; and the status words.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "aaa_client.h"
#include "codec/ldap_items.h"
#include "messages/member_name.h"
#include "messages/records.h"
#include "username_lib.h"

namespace aaa_messages {
namespace {

template <auto Member>
Row word(std::size_t offset, Kind kind = Kind::number) {
  return {member_name<Member>(), offset, 4, kind};
}

constexpr Item text(std::uint32_t tag, std::string_view name) {
  return {.tag = tag, .name = name, .kind = Kind::text};
}
constexpr Item octets(std::uint32_t tag, std::string_view name) {
  return {.tag = tag, .name = name};
}
constexpr Item number(std::uint32_t tag, std::string_view name) {
  return {.tag = tag, .name = name, .kind = Kind::number};
}
constexpr Item secret(std::uint32_t tag, std::string_view name, Kind kind = Kind::text) {
  return {.tag = tag, .name = name, .kind = kind, .secret = true};
}

template <auto Member>
constexpr Item user_number(std::uint32_t tag) {
  return secret(tag, member_name<Member>(), Kind::number);
}
template <auto Member>
constexpr Item user_text(std::uint32_t tag) {
  return secret(tag, member_name<Member>());
}

// Clients write the items in this order, aaad is not bound to one; which of them are there depends
// on the user.
ItemList simple(Heads heads, std::vector<Item> items) {
  return {heads, OtherItems::skipped, false, std::move(items)};
}

}  // namespace

const Block& header_block() {
  static const Block block = {sizeof(aaa_ipc_header),
                              {word<&aaa_ipc_header::marker>(0), word<&aaa_ipc_header::id>(4),
                               word<&aaa_ipc_header::type>(8), word<&aaa_ipc_header::length>(12)}};
  return block;
}

const Block& ldap_search_head_block() {
  static const Block block = {sizeof(ldap_search_head),
                              {word<&ldap_search_head::session_id>(0),
                               {member_name<&ldap_search_head::words8_a>(), 4, 32, Kind::words},
                               word<&ldap_search_head::attr_count>(36)}};
  return block;
}

const ItemList& ldap_search_items() {
  static const ItemList list = {
      Heads::small,
      OtherItems::misread,
      false,
      {octets(aaa::item_306, "item_306"),
       octets(aaa::item_307, "item_307"),
       octets(aaa::item_301, "item_301"),
       {.tag = aaa::attribute_item, .name = "attribute", .counted_by = "attr_count"}}};
  return list;
}

const Block& ldap_result_head_block() {
  static const Block block = {sizeof(ldap_result_head),
                              {word<&ldap_result_head::session_id>(0),
                               {member_name<&ldap_result_head::words3_a>(), 4, 12, Kind::words},
                               word<&ldap_result_head::entry_count>(16),
                               word<&ldap_result_head::num_a>(20)}};
  return block;
}

const ItemList& ldap_result_items() {
  static const Block entry_head = {aaa::entry_head_size - 4, {word<&ldap_dn_entry::pair_count>(0)}};
  static const ItemList entry_items = {
      Heads::small,
      OtherItems::skipped,
      false,
      {octets(aaa::dn_item, "dn"),
       {.tag = aaa::name_item, .name = "name", .counted_by = "pair_count"},
       {.tag = aaa::value_item,
        .name = "value",
        .secret_by_name = true,
        .counted_by = "pair_count"}}};
  static const ItemList list = {Heads::small,
                                OtherItems::misread,
                                false,
                                {octets(aaa::item_309, "item_309"),
                                 octets(aaa::item_306, "item_306"),
                                 {.tag = aaa::entry_item,
                                  .name = "entry",
                                  .block = &entry_head,
                                  .items = &entry_items,
                                  .counted_by = "entry_count"}}};
  return list;
}

// All of them are secret: what the numbers say about a user is known to aaad and its clients alone.
const ItemList& local_user_items() {
  using User = local_user_info;
  static const ItemList list =
      simple(Heads::large, {user_text<&User::user_name>(1), user_number<&User::value_2>(2),
                            user_number<&User::flag_4>(4), user_text<&User::string_19>(19),
                            user_text<&User::string_18>(18), user_number<&User::value_5>(5),
                            user_number<&User::flag_7>(7), user_number<&User::flag_8>(8),
                            user_number<&User::flag_9>(9), user_number<&User::value_10>(10),
                            user_number<&User::value_12>(12), user_number<&User::value_20>(20),
                            user_number<&User::value_13>(13), secret(6, "password")});
  return list;
}

// Which of the texts are passwords is known to aaad alone.
const ItemList& password_check_items() {
  static const ItemList list = simple(Heads::small, {secret(1, "s1"), secret(2, "s2")});
  return list;
}

const ItemList& password_change_items() {
  static const ItemList list =
      simple(Heads::small, {secret(1, "s1"), secret(2, "s2"), secret(3, "s3")});
  return list;
}

// A user's name and the path of a file, as aaad-sim reads them: no secrets.
const ItemList& file_grant_items() {
  static const ItemList list =
      simple(Heads::small, {text(1, "s1"), text(2, "s2"), number(3, "value")});
  return list;
}

const ItemList& group_state_items() {
  static const ItemList list = simple(Heads::small, {text(1, "group_name"), number(2, "state")});
  return list;
}

const Block& status_block() {
  static const Block block = {
      sizeof(aaa_status),
      {word<&aaa_status::new_model>(0), word<&aaa_status::acct_period>(4, Kind::signed_number),
       word<&aaa_status::acct_status>(8), word<&aaa_status::debug>(12),
       word<&aaa_status::debug_msg_limit>(16), word<&aaa_status::pro_status>(20),
       word<&aaa_status::local_user_public_account>(24),
       word<&aaa_status::acct_start_fail_policy>(28),
       word<&aaa_status::login_service_check_mode>(32), word<&aaa_status::aaa_id_limit>(36)}};
  return block;
}

}  // namespace aaa_messages
