// Records that the management requests send, and what they look like on their way.
#pragma once

#include <cstring>
#include <string>

#include "support/encoded_body.h"

namespace test {

// Zeros with words and texts put in at their offsets.
class Block {
 public:
  explicit Block(std::size_t size) : bytes_(size, '\0') {}
  Block& put(std::size_t offset, const std::string& bytes) {
    bytes_.replace(offset, bytes.size(), bytes);
    return *this;
  }
  Block& put_hex(std::size_t offset, const std::string& digits) { return put(offset, hex(digits)); }
  operator std::string() const { return bytes_; }

 private:
  std::string bytes_;
};

inline restore_user_info restorable_user() {
  restore_user_info record = {};
  record.num_a = 0x0a0b0c0d;
  record.octets6_a[0] = 0xa1;
  std::strcpy(record.chars253_a, "alice");
  record.code_a = 0x7e;
  record.num_b = 0x01020304;
  record.num_c = 0x05060708;
  record.num_d = 0x090a0b0c;
  record.num_h = 0x11223344;
  return record;
}

// What that user looks like on its way.
inline std::string restored_block() {
  return Block(392)
      .put_hex(0, "0d0c0b0a a1")
      .put(16, "alice")
      .put_hex(335, "7e")
      .put_hex(336, "04030201 08070605")
      .put_hex(348, "0c0b0a09")
      .put_hex(388, "44332211");
}

inline radext_msg extension() {
  radext_msg record = {};
  record.octets128_a[0] = 0xa1;
  record.num_a = 0x01020304;
  record.text_a = "text";
  record.num_e = 0x05060708;
  record.num_g = 0x090a0b0c;
  static const std::string longest(250, 'h');
  record.text_h = longest.c_str();
  return record;
}

inline std::string extension_block() {
  return Block(2784)
      .put_hex(0, "a1")
      .put_hex(152, "04030201")
      .put(288, "text")
      .put_hex(824, "08070605")
      .put_hex(2524, "0c0b0a09")
      .put(2531, std::string(250, 'h'));
}

inline result_info own_result() {
  result_info record = {};
  record.sub.num_a = 1;
  record.sub.session_id = 0x0a0b0c0d;
  record.reply_message = {0, 5, "hello"};
  return record;
}

inline ldap_search_info ldap_question() {
  ldap_search_info info = {};
  info.head.session_id = 0x0a0b0c0d;
  info.head.words8_a[0] = 0x01020304;
  info.item_301 = {0, 1, "a"};
  info.item_306 = {0, 2, "bb"};
  info.item_307 = {0, 3, "ccc"};
  return info;
}

inline std::string ldap_question_body() {
  return hex("0d0c0b0a 04030201") + std::string(32, '\0') +
         hex("3201 0200 6262  3301 0300 636363  2d01 0100 61");
}

inline ldap_search_result ldap_answer() {
  ldap_search_result result = {};
  result.head.session_id = 0x0a0b0c0d;
  result.head.num_a = 0x01020304;
  result.item_309 = {0, 1, "r"};
  result.item_306 = {0, 2, "bb"};
  return result;
}

inline std::string ldap_answer_body() {
  return hex("0d0c0b0a") + std::string(16, '\0') + hex("04030201  3501 0100 72  3201 0200 6262");
}

}  // namespace test
