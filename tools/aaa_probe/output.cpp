#include "output.h"

#include <iostream>

#include "bytes.h"

namespace aaa_probe {
namespace {

std::string text_of(const Record& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// Further lines of a value are indented, so that they cannot look like a member.
void print_line(const std::string& name, const Record& value) {
  std::cout << name << ": ";
  for (const char character : text_of(value)) {
    std::cout << character;
    if (character == '\n') std::cout << "  ";
  }
  std::cout << '\n';
}

void print_text(const Record& record) {
  for (const auto& [name, value] : record.items()) {
    if (!value.is_array()) print_line(name, value);
    if (value.is_array())
      for (const Record& element : value)
        print_line(name, element);
  }
}

}  // namespace

void put_bytes(Record& record, const std::string& name, std::string_view bytes) {
  if (bytes.empty()) return;
  if (is_text(bytes)) {
    record[name] = bytes;
  } else {
    record[name + "_hex"] = to_hex(bytes);
  }
}

void put_number(Record& record, const std::string& name, std::uint32_t number) {
  if (number != 0) record[name] = number;
}

void Output::print(const Record& record) {
  const std::lock_guard lock(mutex_);
  if (is_json_) {
    std::cout << record.dump() << '\n';
  } else {
    if (!is_first_) std::cout << '\n';
    print_text(record);
  }
  is_first_ = false;
  std::cout.flush();
}

}  // namespace aaa_probe
