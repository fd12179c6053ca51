// Writing a local user back.
#include <cstring>

#include "aaa_client.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"
#include "username/user_list.h"
#include "username_lib.h"

namespace aaa {
namespace {

constexpr std::uint32_t item_header_size = 8;
constexpr std::size_t max_text_item = 255;

// Items of 32-bit type and length in a buffer of fixed size: one that does not fit is left out.
class UserItemWriter {
 public:
  UserItemWriter(char* buffer, std::size_t size) : buffer_(buffer), room_(size) {}

  void put_number(std::uint32_t type, std::uint32_t number) { put(type, &number, sizeof number); }

  // Flags travel only when they are set.
  void put_flag(std::uint32_t type, std::uint8_t is_set) {
    if (is_set != 0) put_number(type, 1);
  }

  // A text that is empty, or too long for its item, is left out.
  template <std::size_t Size>
  void put_text(std::uint32_t type, const char (&text)[Size]) {
    const std::size_t length = strnlen(text, Size);
    if (length > 0 && length < Size && length + item_header_size <= max_text_item) {
      put(type, text, length);
    }
  }

  std::size_t written() const { return written_; }

 private:
  void put(std::uint32_t type, const void* value, std::size_t length) {
    const auto item_length = static_cast<std::uint32_t>(item_header_size + length);
    if (item_length > room_ - written_) return;
    char* const at = buffer_ + written_;
    std::memcpy(at, &type, sizeof type);
    std::memcpy(at + 4, &item_length, sizeof item_length);
    std::memcpy(at + item_header_size, value, length);
    written_ += item_length;
  }

  char* buffer_;
  std::size_t room_;
  std::size_t written_ = 0;
};

// string_19 stands in for string_18, also when it is too long to be sent itself.
void put_strings(UserItemWriter& items, const local_user_info& record) {
  if (record.flag_4 != 0) {
    items.put_flag(4, record.flag_4);
  } else if (record.string_19[0] != '\0') {
    items.put_text(19, record.string_19);
  } else {
    items.put_text(18, record.string_18);
  }
}

// From the back, which is the order in which they were fetched.
void put_passwords(UserItemWriter& items, const local_user_info& record) {
  if (is_empty(record.passwords)) return;
  for (aaa_list* node = record.passwords.prev; node != &record.passwords; node = node->prev) {
    items.put_text(6, entry_of<local_user_password>(node)->text);
  }
}

void put_record(UserItemWriter& items, const local_user_info& record) {
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

std::uint64_t buffer_size(const local_user_info& record) {
  return std::uint64_t{record.password_count} * 264 + std::uint64_t{record.block_count} * 8208 +
         1616;
}

// Null when there is no memory, or when the size is beyond what a message can have.
char* allocate(std::uint64_t size) {
  return size > INT32_MAX ? nullptr
                          : static_cast<char*>(AAA_MALLOC(static_cast<std::uint32_t>(size)));
}

// Frees the buffer. What was not written is not wiped: the counts may have made the buffer large.
aaa_ipc_header* exchange(const local_user_info& record, char* buffer, std::size_t size) {
  UserItemWriter items(buffer, size);
  put_record(items, record);
  aaa_ipc_header* const reply = aaalib_sr_ipc_msg(AAA_MSG_LOCAL_UPDATE_USER, buffer,
                                                  static_cast<std::int32_t>(items.written()));
  wipe_and_free(buffer, items.written());
  return reply;
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
  char* const buffer = aaa::allocate(size);
  if (buffer == nullptr) {
    AAA_DEBUG_LOG("Failed to AAA_ALLOC(%d) for iov of user '%.64s'.\r\n", static_cast<int>(size),
                  record->user_name);
    return -3;
  }
  const aaa::Reply reply(aaa::exchange(*record, buffer, static_cast<std::size_t>(size)));
  return reply ? -(reply.first_byte() ^ 1) : -3;
}
