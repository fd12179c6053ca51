// aaa_tables lua: prints the descriptions of the messages for the dissector.
// aaa_tables document FILE: prints FILE, with the tables in it made again from the descriptions.
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "protocol_tables/document.h"
#include "protocol_tables/lua.h"

namespace {

void print_document(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path + " cannot be read");
  protocol_tables::write_document(file, std::cout);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  try {
    if (command == "lua" && argc == 2) {
      protocol_tables::write_lua(std::cout);
    } else if (command == "document" && argc == 3) {
      print_document(argv[2]);
    } else {
      throw std::runtime_error("usage: aaa_tables lua | document FILE");
    }
    if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "aaa_tables: %s\n", error.what());
    return 1;
  }
}
