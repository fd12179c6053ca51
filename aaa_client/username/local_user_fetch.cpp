// Fetching a local user, and releasing what the record then owns. aaad's answer is a sequence of
// items of 32-bit type and length, the length counting the header.
#include <algorithm>
#include <cstring>

#include "aaa_client.h"
#include "codec/tlv.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"
#include "username/user_record.h"
#include "username_lib.h"

namespace aaa {
namespace {

constexpr char log_name[] = "username_lib_copy_user";

// One item of the answer. Its value may reach past the body's end, which reads as zeros.
struct UserItem {
  std::uint32_t type;
  std::uint32_t length;
  const Body& body;
  const std::uint8_t* value;

  std::uint32_t number() const {
    std::uint32_t word = 0;
    body.copy(&word, value, sizeof word);
    return word;
  }

  template <std::size_t Size>
  void copy_text(char (&to)[Size]) const {
    const std::uint32_t claimed =
        length > user_item_header_size ? length - user_item_header_size : 0;
    const std::size_t count = body.available(value, std::min<std::size_t>(claimed, Size - 1));
    std::memcpy(to, value, count);
    to[count] = '\0';
  }
};

void add_password(local_user_info& record, const UserItem& item) {
  auto* const entry = static_cast<local_user_password*>(AAA_MALLOC(sizeof(local_user_password)));
  if (entry == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "Failed to malloc mem for password of user %s\n\r\n",
                     record.user_name);
    return;
  }
  item.copy_text(entry->text);
  push_front(record.passwords, entry->links);
  ++record.password_count;
}

void take_item(local_user_info& record, const UserItem& item) {
  const auto flag = [&] { return static_cast<std::uint8_t>(item.number() != 0 ? 1 : 0); };
  switch (item.type) {
    case 1:
      return item.copy_text(record.user_name);
    case 2:
      record.value_2 = item.number();
      return;
    case 4:
      record.flag_4 = flag();
      return;
    case 5:
      record.value_5 = item.number();
      return;
    case 6:
      return add_password(record, item);
    case 7:
      record.flag_7 = flag();
      return;
    case 8:
      record.flag_8 = flag();
      return;
    case 9:
      record.flag_9 = flag();
      return;
    case 10:
      record.value_10 = item.number();
      return;
    case 12:
      record.value_12 = item.number();
      return;
    case 13:
      record.value_13 = item.number();
      return;
    case 18:
      return item.copy_text(record.string_18);
    case 19:
      return item.copy_text(record.string_19);
    case 20:
      record.value_20 = item.number();
      return;
    default:
      return;
  }
}

void clear(local_user_info& record) {
  record = {};
  make_empty(record.passwords);
  make_empty(record.blocks);
  make_empty(record.list_3);
  make_empty(record.list_4);
}

void fill(local_user_info& record, const Body& body) {
  clear(record);
  std::int64_t offset = 0;
  while (offset < body.size()) {
    UserItem item = {0, 0, body, body.at(offset + user_item_header_size)};
    body.copy(&item.type, body.at(offset), sizeof item.type);
    body.copy(&item.length, body.at(offset + 4), sizeof item.length);
    take_item(record, item);
    if (item.length == 0) return;
    offset += item.length;
  }
}

// The entries may be passwords.
template <class Entry>
void wipe_and_free_entries(aaa_list& head) {
  while (!is_empty(head)) {
    aaa_list* const node = head.next;
    unlink_node(*node);
    wipe_and_free(entry_of<Entry>(node), sizeof(Entry));
  }
  make_empty(head);
}

}  // namespace
}  // namespace aaa

std::int32_t username_lib_copy_user(local_user_info* record) {
  if (record == nullptr) {
    AAA_DEBUG_LOG("Null param passed in.\r\n");
    return -2;
  }
  if (aaa_is_alive() == 0) return -3;
  const std::size_t name_length = strnlen(record->user_name, sizeof record->user_name);
  const aaa::Reply reply(aaalib_sr_ipc_msg(AAA_MSG_LOCAL_COPY_USER, record->user_name,
                                           static_cast<std::int32_t>(name_length)));
  if (!reply) return -3;
  if (reply.type() != AAA_MSG_LOCAL_COPY_USER) {
    AAA_DEBUG_LOG("Wrong message type(%d).\r\n", static_cast<int>(reply.type()));
    return -3;
  }
  if (reply.length() == 0) return -1;
  aaa::fill(*record, aaa::Body(reply.body(), static_cast<std::int32_t>(reply.length())));
  return 0;
}

void username_lib_release_user(local_user_info* record) {
  if (record == nullptr) return;
  aaa::wipe_and_free_entries<local_user_password>(record->passwords);
  aaa::wipe_and_free_entries<local_user_block>(record->blocks);
}
