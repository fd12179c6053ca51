#include "protocol_tables/lua.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "aaa_client.h"
#include "messages/catalogue.h"
#include "messages/records.h"
#include "protocol_tables/enumerator.h"
#include "protocol_tables/names.h"

namespace protocol_tables {
namespace {

using namespace aaa_messages;

constexpr int indent = 2;

// Writes tables inside tables, one line for each that has only values.
class Writer {
 public:
  explicit Writer(std::ostream& out) : out_(out) {}

  void header() {
    out_ << "-- What the messages consist of. Made from their descriptions when this was built.\n"
            "local tables = {\n"
            "  marker = "
         << marker << ",\n  masked_tag = " << masked_tag << ",\n  max_listed = " << max_listed
         << ",\n  header = ";
    block(header_block(), indent);
    out_ << ",\n";
  }

  void secret_words() {
    out_ << "  secret_words = { ";
    for (const std::string_view word : aaa_messages::secret_words)
      out_ << '"' << word << "\", ";
    out_ << "},\n";
  }

  void type_names() {
    out_ << "  type_names = {\n";
    std::set<std::uint32_t> types;
    for (const Message& message : catalogue())
      if (types.insert(message.type).second)
        out_ << "    [" << message.type << "] = \"" << aaa_ipc_get_msg_type_str(message.type)
             << "\",\n";
    out_ << "  },\n";
  }

  void messages() {
    out_ << "  messages = {\n";
    for (const Message& message : catalogue())
      this->message(message);
    out_ << "  },\n}\n\n";
  }

 private:
  std::ostream& line(int depth) {
    return out_ << std::string(static_cast<std::size_t>(depth), ' ');
  }

  void message(const Message& message) {
    line(4) << "{ type = " << message.type << ", sender = \"" << name_of(message.sender)
            << "\", sockets = \"" << name_of(message.sockets) << "\",";
    if (message.body_length) out_ << " body_length = " << *message.body_length << ",";
    out_ << " parts = {\n";
    for (const Part& part : message.parts)
      this->part(message, part);
    line(4) << "} },\n";
  }

  void part(const Message& message, const Part& part) {
    line(6) << "{ shape = \"" << name_of(part.shape) << "\", record = \""
            << record_of(message, part) << "\",";
    if (!part.name.empty()) out_ << " name = \"" << part.name << "\",";
    if (part.secret) out_ << " secret = true,";
    if (part.block != nullptr) {
      out_ << " block = ";
      block(*part.block, 6);
      out_ << ",";
    }
    if (part.items != nullptr) {
      out_ << " list = ";
      items(*part.items, 6);
      out_ << ",";
    }
    out_ << " },\n";
  }

  void block(const Block& block, int depth) {
    out_ << "{ size = " << block.size << ", rows = {\n";
    for (const Row& row : block.rows)
      line(depth + indent) << "{ name = \"" << row.name << "\", offset = " << row.offset
                           << ", width = " << row.width << ", kind = \"" << name_of(row.kind)
                           << "\" },\n";
    line(depth) << "} }";
  }

  void items(const ItemList& list, int depth) {
    out_ << "{ heads = \"" << name_of(list.heads) << "\", other_items = \""
         << name_of(list.other_items) << "\", complete = " << (list.complete ? "true" : "false")
         << ", items = {\n";
    for (const Item& item : list.items)
      this->item(item, depth + indent);
    line(depth) << "} }";
  }

  void item(const Item& item, int depth) {
    line(depth) << "{ tag = " << item.tag << ", name = \"" << item.name << "\", kind = \""
                << name_of(item.kind) << "\",";
    if (item.kind == Kind::number) out_ << " width = 4,";
    if (item.secret) out_ << " secret = true,";
    if (item.secret_by_name) out_ << " secret_by_name = true,";
    if (!item.counted_by.empty()) out_ << " counted_by = \"" << item.counted_by << "\",";
    if (item.block != nullptr) {
      out_ << " block = ";
      block(*item.block, depth);
      out_ << ",";
    }
    if (item.items != nullptr) {
      out_ << " list = ";
      items(*item.items, depth);
      out_ << ",";
    }
    out_ << " },\n";
  }

  std::ostream& out_;
};

}  // namespace

void write_lua(std::ostream& out) {
  Writer writer(out);
  writer.header();
  writer.secret_words();
  writer.type_names();
  writer.messages();
}

}  // namespace protocol_tables
