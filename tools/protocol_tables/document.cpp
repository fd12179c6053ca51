#include "protocol_tables/document.h"

#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include "protocol_tables/markdown.h"

namespace protocol_tables {
namespace {

constexpr std::string_view begin_of_table = "<!-- table ";
constexpr std::string_view end_of_table = "<!-- end of table -->";

void skip_table(std::istream& in, const std::string& name) {
  for (std::string line; line != end_of_table;)
    if (!std::getline(in, line)) throw std::runtime_error("table " + name + " has no end");
}

}  // namespace

void write_document(std::istream& in, std::ostream& out) {
  std::set<std::string> missing = table_names();
  for (std::string line; std::getline(in, line);) {
    out << line << '\n';
    if (!line.starts_with(begin_of_table)) continue;
    const std::string name =
        line.substr(begin_of_table.size(), line.find(" -->") - begin_of_table.size());
    skip_table(in, name);
    out << '\n';
    write_table(name, out);
    out << '\n' << end_of_table << '\n';
    missing.erase(name);
  }
  if (!missing.empty()) throw std::runtime_error("there is no table " + *missing.begin());
}

}  // namespace protocol_tables
