// Bodies that several of the samples have.
#pragma once

#include <span>
#include <string>

#include "messages/samples.h"
#include "support/bytes.h"

namespace test {

inline std::string long_item(std::uint32_t type, const std::string& value) {
  return word_bytes({type, static_cast<std::uint32_t>(value.size() + 8)}) + value;
}

inline std::string counted(const std::string& text) {
  return word_bytes(static_cast<std::uint32_t>(text.size())) + text;
}

inline std::string record(std::span<const BlockRow> rows, std::size_t size,
                          std::span<const ItemRow> items) {
  std::string body = item_bytes(1, sample_block(rows, size));
  for (const ItemRow& item : items)
    body += item_bytes(item.tag, item.secret ? sample_secret : "v" + std::to_string(item.tag));
  return body;
}

inline std::string authen() {
  return record(authen_rows, 1184, authen_items);
}
inline std::string author() {
  return record(author_rows, 156, author_items);
}
inline std::string acct() {
  return record(acct_rows, 772, acct_items);
}
inline std::string result() {
  return record(result_rows, 1280, result_items);
}

inline std::string ldap_search() {
  return word_bytes({77, 1, 2, 3, 4, 5, 6, 7, 8, 2}) + item_bytes(306, "name") +
         item_bytes(307, "uid=abc") + item_bytes(301, "dc=lab") + item_bytes(308, "mail") +
         item_bytes(308, "uid");
}

inline std::string ldap_result() {
  const std::string pairs = item_bytes(311, "uid=a") + item_bytes(312, "mail") +
                            item_bytes(313, "a@lab") + item_bytes(312, "userPassword") +
                            item_bytes(313, sample_secret);
  return word_bytes({77, 1, 2, 3, 1, 9}) + item_bytes(309, "none") + item_bytes(306, "name") +
         word_bytes({310 | static_cast<std::uint32_t>(pairs.size()) << 16, 2}) + pairs;
}

inline std::string local_user() {
  return long_item(1, sample_secret) + long_item(2, word_bytes(22)) + long_item(4, word_bytes(1)) +
         long_item(19, sample_secret) + long_item(18, sample_secret) +
         long_item(5, word_bytes(55)) + long_item(7, word_bytes(1)) + long_item(8, word_bytes(1)) +
         long_item(9, word_bytes(1)) + long_item(10, word_bytes(100)) +
         long_item(12, word_bytes(120)) + long_item(20, word_bytes(200)) +
         long_item(13, word_bytes(130)) + long_item(6, sample_secret);
}

inline std::string three_secrets() {
  return counted(sample_secret) + counted(sample_secret) + counted(sample_secret);
}

// A block of the size of a notice: a word, then other bytes.
inline std::string notice(std::size_t size) {
  return word_bytes(2) + std::string(size - 4, '\x81');
}

}  // namespace test
