// A local user's record: fetching it, releasing what it then owns, and writing it back. On the wire
// it is a sequence of items of 32-bit type and length, the length counting the header.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "codec/tlv.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"
#include "username_lib.h"

namespace aaa {
namespace {

constexpr std::uint32_t user_item_header_size = 8;

void make_empty(aaa_list& head) {
  head = {.next = &head, .prev = &head};
}

// A head that was never set up counts as empty.
bool is_empty(const aaa_list& head) {
  return head.next == nullptr || head.next == &head;
}

// REQUIRES: the head is set up.
void push_front(aaa_list& head, aaa_list& node) {
  assert(head.next != nullptr);
  node = {.next = head.next, .prev = &head};
  head.next->prev = &node;
  head.next = &node;
}

// REQUIRES: the node is in a list.
void unlink_node(aaa_list& node) {
  assert(node.prev != nullptr && node.next != nullptr);
  node.prev->next = node.next;
  node.next->prev = node.prev;
}

// The entry whose `links` a node is. REQUIRES: the node is not a list's head.
template <class Entry>
Entry* entry_of(aaa_list* node) {
  return reinterpret_cast<Entry*>(reinterpret_cast<char*>(node) - offsetof(Entry, links));
}

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

namespace aaa {
namespace {

constexpr std::size_t max_text_item = 255;

// An item that does not fit is left out.
class UserItemWriter {
 public:
  explicit UserItemWriter(RequestBody& body) : body_(body) {}

  void put_number(std::uint32_t type, std::uint32_t number) { put(type, &number, sizeof number); }

  // Flags are sent only when they are set.
  void put_flag(std::uint32_t type, std::uint8_t is_set) {
    if (is_set != 0) put_number(type, 1);
  }

  // A text that is empty, has no NUL or is too long for its item is left out.
  template <std::size_t Size>
  void put_text(std::uint32_t type, const char (&text)[Size]) {
    const std::size_t length = strnlen(text, Size);
    if (length > 0 && length < Size && length + user_item_header_size <= max_text_item) {
      put(type, text, length);
    }
  }

 private:
  void put(std::uint32_t type, const void* value, std::size_t length) {
    const std::size_t item_length = user_item_header_size + length;
    if (item_length > body_.room()) return;
    body_.add_word(type);
    body_.add_word(static_cast<std::uint32_t>(item_length));
    body_.add_bytes(value, length);
  }

  RequestBody& body_;
};

// string_19 replaces string_18, even if it has no NUL and is therefore not sent itself.
void put_strings(UserItemWriter items, const local_user_info& record) {
  if (record.flag_4 != 0) {
    items.put_flag(4, record.flag_4);
  } else if (record.string_19[0] != '\0') {
    items.put_text(19, record.string_19);
  } else {
    items.put_text(18, record.string_18);
  }
}

// From the back, which is the order in which they were fetched.
void put_passwords(UserItemWriter items, const local_user_info& record) {
  if (is_empty(record.passwords)) return;
  for (aaa_list* node = record.passwords.prev; node != &record.passwords; node = node->prev) {
    items.put_text(6, entry_of<local_user_password>(node)->text);
  }
}

void put_record(UserItemWriter items, const local_user_info& record) {
  items.put_text(1, record.user_name);
  items.put_number(2, record.value_2);
  put_strings(items, record);
  items.put_number(5, record.value_5);
  items.put_flag(7, record.flag_7);
  items.put_flag(8, record.flag_8);
  items.put_flag(9, record.flag_9);
  items.put_number(10, record.value_10);
  items.put_number(12, record.value_12);
  items.put_number(20, record.value_20);
  items.put_number(13, record.value_13);
  put_passwords(items, record);
}

// More than the items of a record with these counts need; counts that are too low for the lists
// leave items out.
std::uint64_t buffer_size(const local_user_info& record) {
  constexpr std::uint64_t password_room = 264;  // header and text with its NUL
  constexpr std::uint64_t block_room = 8208;
  constexpr std::uint64_t other_items_room = 1616;
  return record.password_count * password_room + record.block_count * block_room + other_items_room;
}

}  // namespace
}  // namespace aaa

std::int32_t username_lib_update_user(const local_user_info* record) {
  if (record == nullptr) {
    AAA_DEBUG_LOG("Null param passed in.\r\n");
    return -2;
  }
  if (aaa_is_alive() == 0) return -3;
  const std::uint64_t size = aaa::buffer_size(*record);
  aaa::RequestBody body(size);
  if (!body) {
    AAA_DEBUG_LOG("Failed to AAA_ALLOC(%d) for iov of user '%.64s'.\r\n", static_cast<int>(size),
                  record->user_name);
    return -3;
  }
  aaa::put_record(aaa::UserItemWriter(body), *record);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_LOCAL_UPDATE_USER, body));
  return reply ? -(reply.first_byte() ^ 1) : -3;
}
