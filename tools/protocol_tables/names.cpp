#include "protocol_tables/names.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <stdexcept>

#include "aaa_client.h"
#include "messages/records.h"
#include "protocol_tables/enumerator.h"

namespace protocol_tables {
namespace {

using namespace aaa_messages;

constexpr std::string_view prefix = "AAA_MSG_";

struct Record {
  std::string_view name;
  const Block* block;
  const ItemList* items;
};

std::span<const Record> records() {
  static const Record all[] = {
      {"authen", nullptr, &authen_items()},
      {"author", nullptr, &author_items()},
      {"acct", nullptr, &acct_items()},
      {"result", nullptr, &result_items()},
      {"radext_request", &radext_request_block(), nullptr},
      {"radext_result", &radext_result_block(), nullptr},
      {"restore_user", &restore_user_block(), nullptr},
      {"hot_backup", &hot_backup_block(), nullptr},
      {"ldap_search", &ldap_search_head_block(), &ldap_search_items()},
      {"ldap_result", &ldap_result_head_block(), &ldap_result_items()},
      {"local_user", nullptr, &local_user_items()},
      {"password_check", nullptr, &password_check_items()},
      {"password_change", nullptr, &password_change_items()},
      {"file_grant", nullptr, &file_grant_items()},
      {"group_state", nullptr, &group_state_items()},
      {"status", &status_block(), nullptr},
  };
  return all;
}

}  // namespace

std::string_view constant_of(std::uint32_t type) {
  const std::string_view name = name_of<256>(static_cast<aaa_msg_type>(type));
  if (name.empty()) throw std::out_of_range("type " + std::to_string(type) + " has no constant");
  return name;
}

std::string_view record_of(const Part& part) {
  const auto has_part = [&](const Record& record) {
    return (part.block != nullptr && part.block == record.block) ||
           (part.items != nullptr && part.items == record.items);
  };
  const auto found = std::ranges::find_if(records(), has_part);
  return found == records().end() ? std::string_view() : found->name;
}

std::string record_of(const Message& message, const Part& part) {
  if (const std::string_view record = record_of(part); !record.empty()) return std::string(record);
  std::string name(constant_of(message.type).substr(prefix.size()));
  std::ranges::transform(name, name.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name;
}

}  // namespace protocol_tables
