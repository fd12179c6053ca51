#include "messages/expected.h"

#include "messages/render.h"
#include "support/bytes.h"

namespace test {
namespace {

constexpr char digits[] = "0123456789abcdef";

std::string hex_of(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    text += digits[static_cast<unsigned char>(byte) >> 4];
    text += digits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

std::uint64_t number_of(const std::string& bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = bytes.size(); i > 0; --i)
    number = number << 8 | static_cast<unsigned char>(bytes[i - 1]);
  return number;
}

Json row_object(const BlockRow& row, const std::string& value, std::size_t block_at) {
  const std::string name = row.name;
  Json object = {{"name", name}, {"offset", block_at + row.offset}, {"length", row.width}};
  if (name.starts_with("octets")) {
    object["hex"] = hex_of(value);
  } else if (name.starts_with("chars") || name.starts_with("text")) {
    object["value"] = value;
  } else if (name.starts_with("words")) {
    for (std::size_t at = 0; at < value.size(); at += 4)
      object["value"].push_back(number_of(value.substr(at, 4)));
  } else {
    object["value"] = number_of(value);
  }
  return object;
}

Json block_fields(std::span<const BlockRow> rows, std::size_t size, std::size_t at) {
  const std::string block = sample_block(rows, size);
  Json fields = Json::array();
  for (const BlockRow& row : rows)
    fields.push_back(row_object(row, block.substr(row.offset, row.width), at));
  return fields;
}

// Each item has 4 bytes of head; a secret one is "Geheim!42", the others "v" and their tag.
Json record_fields(std::span<const BlockRow> rows, std::size_t size, std::span<const ItemRow> items,
                   std::size_t at) {
  Json fields = Json::array();
  fields.push_back({{"name", "fixed_block"},
                    {"tag", 1},
                    {"offset", at + 4},
                    {"length", size},
                    {"fields", block_fields(rows, size, at + 4)}});
  at += 4 + size;
  for (const ItemRow& item : items) {
    const std::string value = "v" + std::to_string(item.tag);
    const std::size_t length = item.secret ? 9 : value.size();
    Json object = {{"name", item.name}, {"tag", item.tag}, {"offset", at + 4}, {"length", length}};
    if (item.secret) {
      object["secret"] = true;
    } else {
      object["value"] = value;
    }
    fields.push_back(object);
    at += 4 + length;
  }
  return fields;
}

Json record_named(const std::string& name, std::size_t at) {
  if (name == "authen") return record_fields(authen_rows, 1184, authen_items, at);
  if (name == "author") return record_fields(author_rows, 156, author_items, at);
  if (name == "acct") return record_fields(acct_rows, 772, acct_items, at);
  return record_fields(result_rows, 1280, result_items, at);
}

Json group_record(const std::string& name) {
  Json fields = {
      {{"name", "group_name_length"}, {"offset", 16}, {"length", 1}, {"value", 3}},
      {{"name", "group_name"}, {"offset", 17}, {"length", 3}, {"value", "lab"}},
  };
  for (const Json& field : record_named(name, 20))
    fields.push_back(field);
  return fields;
}

// The field that a hot backup has and a restored user has not.
Json hot_backup_fields() {
  Json fields = block_fields(restore_user_rows, 392, 16);
  const Json flag = {{"name", "flag"}, {"offset", 360}, {"length", 4}, {"value", 1}};
  fields.insert(fields.begin() + 8, flag);
  return fields;
}

Json delete_notice_fields() {
  return {{{"name", "kind"}, {"offset", 16}, {"length", 4}, {"value", 2}},
          {{"name", "data"},
           {"offset", 20},
           {"length", 556},
           {"hex", hex_of(std::string(556, '\x81'))}}};
}

// What a client reads of an answer about RADIUS extensions ends before the last three fields.
Json radext_result_fields() {
  return block_fields(std::span(radext_rows).first(22), 2788, 16);
}

void add_names(std::vector<std::string>& names, const std::string& prefix,
               const std::vector<aaa_messages::Field>& fields) {
  for (const aaa_messages::Field& field : fields) {
    names.push_back(prefix + field.name);
    add_names(names, prefix + field.name + ".", field.fields);
  }
}

}  // namespace

Json expected_fields(const MessageSample& sample) {
  const std::string& kind = sample.fields;
  if (kind.starts_with('[')) return Json::parse(kind);
  if (kind == "batch") return Json::array();
  if (kind == "restore_user") return block_fields(restore_user_rows, 392, 16);
  if (kind == "hot_backup") return hot_backup_fields();
  if (kind == "radext_request") return block_fields(radext_rows, 2784, 16);
  if (kind == "radext_result") return radext_result_fields();
  if (kind == "del_notice") return delete_notice_fields();
  return sample.name.ends_with("_group") ? group_record(kind) : record_named(kind, 16);
}

aaa_messages::Decoded decoded(const MessageSample& sample, const std::string& bytes) {
  return aaa_messages::decode(sample.frame(view(bytes)));
}

Json decoded_object(const MessageSample& sample, const std::string& bytes) {
  return aaa_messages::to_json(decoded(sample, bytes));
}

Json decoded_object(const MessageSample& sample) {
  return decoded_object(sample, sample.bytes());
}

std::vector<std::string> names_of(const std::vector<aaa_messages::Field>& fields) {
  std::vector<std::string> names;
  add_names(names, "", fields);
  return names;
}

std::string lines_of(const Json& fields) {
  std::string lines;
  for (const Json& field : fields)
    lines += field.dump() + "\n";
  return lines;
}

}  // namespace test
