// Tables of the messages in Markdown.
#pragma once

#include <ostream>
#include <set>
#include <string>

namespace protocol_tables {

// "header", "client", "aaad", and the records' names.
std::set<std::string> table_names();

// Throws std::runtime_error for another name.
void write_table(const std::string& name, std::ostream& out);

}  // namespace protocol_tables
