// Writing a local user back.
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"
#include "username/user_record.h"
#include "username_lib.h"

namespace aaa {
namespace {

constexpr std::size_t max_text_item = 255;

// An item that does not fit is left out.
class UserItemWriter {
 public:
  explicit UserItemWriter(RequestBody& body) : body_(body) {}

  void put_number(std::uint32_t type, std::uint32_t number) { put(type, &number, sizeof number); }

  // Flags travel only when they are set.
  void put_flag(std::uint32_t type, std::uint8_t is_set) {
    if (is_set != 0) put_number(type, 1);
  }

  // A text that is empty, or too long for its item, is left out.
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

// string_19 stands in for string_18, also when it is too long to be sent itself.
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
