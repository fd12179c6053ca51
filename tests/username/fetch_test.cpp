// Fetching a local user: the exchange, and what each item does to the record.
#include "username/user_records.h"

namespace test {
namespace {

class Fetch : public UserRecordTest {};

TEST_F(Fetch, AnEmptyNameIsAnEmptyBody) {
  EXPECT_EQ(0, fetch(number_item(2, 1)));
  EXPECT_EQ(hex("01010101 00000000 77000000 00000000"), only_write());
}

TEST_F(Fetch, ANameWithoutNulEndsWithItsField) {
  std::memset(record_.user_name, 'n', 65);
  std::memset(&record_.value_2, 'x', 4);
  fetch(number_item(2, 1));
  EXPECT_EQ(std::string(65, 'n'), only_write().substr(16));
}

TEST_F(Fetch, NoAnswerAndAWrongOneLeaveTheRecordAndAWrongOneIsLogged) {
  set_name("alice");
  const std::string before = bytes_of(record_);
  const OpenLog log;
  next_write_fails(EPIPE);
  EXPECT_EQ(-3, username_lib_copy_user(&record_));
  aaad_answers(message_bytes(120, number_item(2, 1)));
  EXPECT_EQ(-3, username_lib_copy_user(&record_));
  EXPECT_EQ(before, bytes_of(record_));
  log.expect("username_lib_copy_user", "Wrong message type(120).\r\n");
}

TEST_F(Fetch, AnEmptyAnswerMeansNoSuchUserAndLeavesTheRecord) {
  std::memset(&record_, 'r', offsetof(local_user_info, passwords));
  std::memset(record_.user_name, '\0', 1);
  const std::string before = bytes_of(record_);
  EXPECT_EQ(-1, fetch(""));
  EXPECT_EQ(before, bytes_of(record_));
}

TEST_F(Fetch, EachNumberHasItsField) {
  EXPECT_EQ(0, fetch(number_item(2, 0x01020304) + number_item(5, 5) + number_item(10, 10) +
                     number_item(12, 12) + number_item(13, 13) + number_item(20, 0xffffffff)));
  EXPECT_EQ(0x01020304u, record_.value_2);
  EXPECT_EQ(5u, record_.value_5);
  EXPECT_EQ(10u, record_.value_10);
  EXPECT_EQ(12u, record_.value_12);
  EXPECT_EQ(13u, record_.value_13);
  EXPECT_EQ(0xffffffffu, record_.value_20);
}

TEST_F(Fetch, EachFlagHasItsField) {
  for (const std::uint32_t set : {4, 7, 8, 9}) {
    EXPECT_EQ(0, fetch(number_item(set, 1)));
    EXPECT_EQ(set == 4 ? 1 : 0, record_.flag_4) << set;
    EXPECT_EQ(set == 7 ? 1 : 0, record_.flag_7) << set;
    EXPECT_EQ(set == 8 ? 1 : 0, record_.flag_8) << set;
    EXPECT_EQ(set == 9 ? 1 : 0, record_.flag_9) << set;
  }
  EXPECT_EQ(0, fetch(number_item(4, 0x01000000) + number_item(7, 0) + number_item(8, 256)));
  EXPECT_EQ(1, record_.flag_4) << "any number but 0 makes it 1";
  EXPECT_EQ(0, record_.flag_7);
  EXPECT_EQ(1, record_.flag_8);
}

TEST_F(Fetch, ALaterItemReplacesAnEarlierOne) {
  EXPECT_EQ(0, fetch(number_item(4, 1) + number_item(2, 1) + item(1, "alice") + number_item(4, 0) +
                     number_item(2, 2) + item(1, "bo")));
  EXPECT_EQ(0, record_.flag_4);
  EXPECT_EQ(2u, record_.value_2);
  EXPECT_STREQ("bo", record_.user_name);
}

TEST_F(Fetch, StringsAreTerminatedAndCutToTheirFields) {
  const auto expect_strings = [this](const std::string& name, const std::string& string_18,
                                     const std::string& string_19) {
    EXPECT_EQ(0,
              fetch(item(1, name) + item(18, string_18) + item(19, string_19) + number_item(2, 7)));
    EXPECT_EQ(name.substr(0, 64), record_.user_name);
    EXPECT_EQ(string_18.substr(0, 52), record_.string_18);
    EXPECT_EQ(string_19.substr(0, 128), record_.string_19);
    EXPECT_EQ(7u, record_.value_2);
  };
  expect_strings("alice", "eighteen", "nineteen");
  expect_strings(std::string(64, 'a'), std::string(52, 'b'), std::string(128, 'c'));
  expect_strings(std::string(65, 'a'), std::string(53, 'b'), std::string(300, 'c'));
}

TEST_F(Fetch, WhatNoItemNamesIsCleared) {
  std::memset(&record_, 'r', sizeof(local_user_info));
  set_name("alice");
  EXPECT_EQ(0, fetch(number_item(99, 1)));
  local_user_info& record = record_;
  const auto text = [](const auto& field) { return std::string(field, sizeof field); };
  EXPECT_EQ(std::string(65, '\0'), text(record.user_name));
  EXPECT_EQ(std::string(53, '\0'), text(record.string_18));
  EXPECT_EQ(std::string(129, '\0'), text(record.local_text));
  EXPECT_EQ(std::string(129, '\0'), text(record.string_19));
  for (const std::uint32_t word :
       {record.value_2, record.value_5, record.value_10, record.value_12, record.value_13,
        record.value_20, record.password_count, record.block_count, record.local_a[0],
        record.local_a[1], record.local_b[0], record.local_b[1], record.local_c[0],
        record.local_c[1]})
    EXPECT_EQ(0u, word);
  for (const std::uint8_t flag : {record.flag_4, record.flag_7, record.flag_8, record.flag_9})
    EXPECT_EQ(0, flag);
  for (const aaa_list* list : {&record.passwords, &record.blocks, &record.list_3, &record.list_4})
    EXPECT_TRUE(is_empty(*list));
}

TEST_F(Fetch, ItemsOfOtherTypesAreSkipped) {
  EXPECT_EQ(0, fetch(item(3, "three") + item(0, "") + item(0xffffffff, "x") + item(11, "eleven") +
                     item(1, "alice") + item(21, "") + number_item(2, 7)));
  EXPECT_STREQ("alice", record_.user_name);
  EXPECT_EQ(7u, record_.value_2);
}

}  // namespace
}  // namespace test
