// Local user records and the items in which they travel.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/linked_test.h"
#include "transport/base/memory.h"
#include "username_lib.h"

namespace test {

// An item as aaad writes it, and one whose length is whatever the test says.
inline std::string item_of(std::uint32_t type, std::uint32_t length, const std::string& value) {
  return word_bytes(type) + word_bytes(length) + value;
}
inline std::string item(std::uint32_t type, const std::string& value) {
  return item_of(type, static_cast<std::uint32_t>(8 + value.size()), value);
}
inline std::string number_item(std::uint32_t type, std::uint32_t number) {
  return item(type, word_bytes(number));
}

inline bool is_empty(const aaa_list& head) {
  return head.next == &head && head.prev == &head;
}

inline void push_front(aaa_list& head, aaa_list& node) {
  node = {head.next, &head};
  head.next->prev = &node;
  head.next = &node;
}

inline const char* password_at(const aaa_list* links) {
  return reinterpret_cast<const char*>(links) - offsetof(local_user_password, links);
}

// Every byte of a record.
inline std::string bytes_of(const local_user_info& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

// The passwords from the front of the list to its back; the list must be whole in both directions.
inline std::vector<std::string> passwords_of(const local_user_info& record) {
  std::vector<std::string> texts;
  for (const aaa_list* node = record.passwords.next; node != &record.passwords; node = node->next) {
    EXPECT_EQ(node, node->prev->next);
    EXPECT_EQ(node, node->next->prev);
    texts.emplace_back(password_at(node));
  }
  return texts;
}

// Tests with a record, whose lists are empty at first and are released in the end.
class UserRecordTest : public LinkedTest {
 protected:
  UserRecordTest() {
    for (aaa_list* list : {&record_.passwords, &record_.blocks, &record_.list_3, &record_.list_4})
      *list = {list, list};
  }
  void TearDown() override {
    username_lib_release_user(&record_);
    LinkedTest::TearDown();
  }

  // Fetches into the record from an answer of these items.
  std::int32_t fetch(const std::string& items) {
    aaad_answers(message_bytes(119, items));
    return username_lib_copy_user(&record_);
  }
  // Writes the record back.
  std::int32_t update(const std::string& answer = message_bytes(120, "\1")) {
    aaad_answers(answer);
    return username_lib_update_user(&record_);
  }

  void set_name(const std::string& name) {
    std::snprintf(record_.user_name, sizeof record_.user_name, "%s", name.c_str());
  }

  // Puts a password at the front of the list and counts it.
  void add_password(const std::string& text) {
    auto* const entry = static_cast<local_user_password*>(AAA_MALLOC(sizeof(local_user_password)));
    *entry = {};
    text.copy(entry->text, sizeof entry->text);
    push_front(record_.passwords, entry->links);
    ++record_.password_count;
  }

  // Puts a block at the front of the list and counts it.
  void add_block() {
    auto* const block = static_cast<local_user_block*>(AAA_MALLOC(sizeof(local_user_block)));
    *block = {};
    push_front(record_.blocks, block->links);
    ++record_.block_count;
  }

  local_user_info record_ = {};
};

}  // namespace test
