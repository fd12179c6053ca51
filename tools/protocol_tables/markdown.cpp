#include "protocol_tables/markdown.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "messages/catalogue.h"
#include "messages/records.h"
#include "protocol_tables/enumerator.h"
#include "protocol_tables/names.h"

namespace protocol_tables {
namespace {

using namespace aaa_messages;

std::string code(std::string_view text) {
  return "`" + std::string(text) + "`";
}

std::string array(std::string_view type, std::size_t count) {
  return std::string(type) + "[" + std::to_string(count) + "]";
}

std::string type_of(Kind kind, std::size_t width) {
  switch (kind) {
    case Kind::number:
      return "u" + std::to_string(8 * width);
    case Kind::signed_number:
      return "i" + std::to_string(8 * width);
    case Kind::network_number:
      return "be" + std::to_string(8 * width);
    case Kind::words:
      return array("u32", width / 4);
    case Kind::octets:
      return array("octets", width);
    case Kind::text:
      break;
  }
  return array("text", width);
}

std::string type_of(const Item& item) {
  if (item.items != nullptr) return "a block and items";
  if (item.block != nullptr) return "a block";
  if (item.kind == Kind::number) return "u32";
  return std::string(name_of(item.kind));
}

// ---- Bodies of messages. --------------------------------------------------------------------

std::string reserved(std::size_t bytes) {
  return bytes == 0 ? "" : std::to_string(bytes) + " reserved";
}

void append(std::string& list, const std::string& element) {
  if (element.empty()) return;
  if (!list.empty()) list += ", ";
  list += element;
}

std::string rows_in_a_line(const Block& block) {
  std::string line;
  std::size_t end = 0;
  for (const Row& row : block.rows) {
    append(line, reserved(row.offset - end));
    append(line, code(row.name) + " " + type_of(row.kind, row.width));
    end = row.offset + row.width;
  }
  append(line, reserved(block.size - end));
  return line;
}

std::string describe(const Part& part) {
  if (const std::string_view record = record_of(part); !record.empty())
    return "[" + std::string(record) + "](#" + std::string(record) + ")";
  switch (part.shape) {
    case Shape::block:
      return rows_in_a_line(*part.block);
    case Shape::short_text:
      return code(part.name) + " u8 and text";
    case Shape::long_text:
      return code(part.name) + " u32 and text";
    case Shape::text:
      return code(part.name) + " text";
    case Shape::octets:
      return code(part.name) + " octets";
    case Shape::messages:
      return "messages";
    case Shape::items:
      throw std::runtime_error("the items of a message have no name");
    case Shape::unknown:
      break;
  }
  return "not read";
}

std::string describe_body(const Message& message) {
  std::string body;
  std::string last;
  for (const Part& part : message.parts) {
    const std::string next = describe(part);
    if (next != last) append(body, next);
    last = next;
  }
  if (message.parts.empty()) body = "empty";
  if (message.body_length) body += ": a body of " + std::to_string(*message.body_length) + " bytes";
  return body;
}

void write_messages(Sender sender, std::ostream& out) {
  out << "| type | constant | socket | body |\n|---|---|---|---|\n";
  for (const Message& message : catalogue()) {
    if (message.sender != sender) continue;
    out << "| " << message.type << " | " << code(constant_of(message.type)) << " | "
        << name_of(message.sockets) << " | " << describe_body(message) << " |\n";
  }
}

// ---- Records. -------------------------------------------------------------------------------

void write_block(const Block& block, std::ostream& out) {
  out << "| offset | field | type |\n|---|---|---|\n";
  for (const Row& row : block.rows)
    out << "| " << row.offset << " | " << code(row.name) << " | " << type_of(row.kind, row.width)
        << " |\n";
}

std::string describe_value(const Item& item) {
  std::string value = type_of(item);
  if (item.secret) append(value, "secret");
  if (item.secret_by_name) append(value, "secret behind the name of one");
  if (!item.counted_by.empty()) append(value, "counted by " + code(item.counted_by));
  return value;
}

std::string describe(const ItemList& list) {
  const std::string heads = list.heads == Heads::small ? "small" : "large";
  const std::string number = list.complete ? ", each once, in this order" : "";
  const std::string others = list.other_items == OtherItems::skipped
                                 ? "other items are skipped"
                                 : "of other items only the head is skipped";
  return " with " + heads + " heads" + number + "; " + others + ":\n\n";
}

// Blocks and lists inside items follow the list.
void write_items(const ItemList& list, const std::string& which, std::ostream& out) {
  out << which << describe(list) << "| tag | item | value |\n|---|---|---|\n";
  for (const Item& item : list.items)
    out << "| " << item.tag << " | " << code(item.name) << " | " << describe_value(item) << " |\n";
  for (const Item& item : list.items) {
    if (item.block != nullptr) {
      out << "\n" << code(item.name) << ", a block of " << item.block->size << " bytes:\n\n";
      write_block(*item.block, out);
    }
    if (item.items != nullptr) {
      out << '\n';
      write_items(*item.items, "In " + code(item.name) + ", behind its block: items", out);
    }
  }
}

void write_secret_words(std::ostream& out) {
  std::string line;
  for (const std::string_view word : secret_words)
    append(line, code(word));
  out << line << '\n';
}

bool write_record(std::string_view name, std::ostream& out) {
  for (const Message& message : catalogue()) {
    bool is_found = false;
    for (const Part& part : message.parts) {
      if (record_of(part) != name) continue;
      if (is_found) out << '\n';
      if (part.block != nullptr) {
        out << "A block of " << part.block->size << " bytes:\n\n";
        write_block(*part.block, out);
      }
      if (part.items != nullptr) write_items(*part.items, "Items", out);
      is_found = true;
    }
    if (is_found) return true;
  }
  return false;
}

}  // namespace

std::set<std::string> table_names() {
  std::set<std::string> names = {"header", "client", "aaad", "secret_words"};
  for (const Message& message : catalogue())
    for (const Part& part : message.parts)
      if (const std::string_view record = record_of(part); !record.empty()) names.emplace(record);
  return names;
}

void write_table(const std::string& name, std::ostream& out) {
  if (name == "header") return write_block(header_block(), out);
  if (name == "client") return write_messages(Sender::client, out);
  if (name == "aaad") return write_messages(Sender::daemon, out);
  if (name == "secret_words") return write_secret_words(out);
  if (!write_record(name, out)) throw std::runtime_error("nothing is named " + name);
}

}  // namespace protocol_tables
