// What a command prints: records, as text or as JSON.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace aaa_probe {

// An object; its members keep their order.
using Record = nlohmann::ordered_json;

// Octets that are not text go under the name with "_hex" behind it. Empty ones are left out.
void put_bytes(Record& record, const std::string& name, std::string_view bytes);
// 0 is left out.
void put_number(Record& record, const std::string& name, std::uint32_t number);

// For text, a line "name: value" for each member, and an empty line between two records. For JSON,
// one object on a line. Any thread may print; a record is written whole and at once.
class Output {
 public:
  explicit Output(bool is_json) : is_json_(is_json) {}
  void print(const Record& record);

 private:
  const bool is_json_;
  bool is_first_ = true;
  std::mutex mutex_;
};

}  // namespace aaa_probe
