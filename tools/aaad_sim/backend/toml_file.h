// Reading a TOML file whose errors are one line, "path:line: error".
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <toml++/toml.h>

namespace aaa_sim::toml_file {

// An error in the file, at the place of the node.
[[noreturn]] void fail(const toml::node& node, const std::string& what);

// They fail when the value has another type or is longer or out of range.
std::string read_text(const toml::key& key, const toml::node& value, std::size_t max_size);
std::int64_t read_number(const toml::key& key, const toml::node& value, std::int64_t least,
                         std::int64_t most);
bool read_flag(const toml::key& key, const toml::node& value);
[[noreturn]] void fail_unknown(const toml::key& key, const toml::node& value);

// Parses the file and calls `read`. Throws std::runtime_error.
void read_file(const std::string& path, const std::function<void(const toml::table&)>& read);

}  // namespace aaa_sim::toml_file
