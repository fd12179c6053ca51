#include "backend/toml_file.h"

#include <algorithm>
#include <stdexcept>

#include "backend/input_file.h"

namespace aaa_sim::toml_file {
namespace {

struct FileError {
  toml::source_position where;
  std::string what;
};

std::string at(const std::string& path, toml::source_position where, std::string what) {
  std::ranges::replace(what, '\n', ' ');
  return path + ":" + std::to_string(where.line) + ": " + what;
}

}  // namespace

void fail(const toml::node& node, const std::string& what) {
  throw FileError{node.source().begin, what};
}

std::string read_text(const toml::key& key, const toml::node& value, std::size_t max_size) {
  const auto text = value.value_exact<std::string>();
  if (!text) fail(value, std::string(key.str()) + " is not a string");
  if (text->size() > max_size)
    fail(value, std::string(key.str()) + " is longer than " + std::to_string(max_size) + " bytes");
  return *text;
}

std::int64_t read_number(const toml::key& key, const toml::node& value, std::int64_t least,
                         std::int64_t most) {
  const auto number = value.value_exact<std::int64_t>();
  if (!number || *number < least || *number > most) {
    fail(value, std::string(key.str()) + " is not a number from " + std::to_string(least) + " to " +
                    std::to_string(most));
  }
  return *number;
}

bool read_flag(const toml::key& key, const toml::node& value) {
  const auto flag = value.value_exact<bool>();
  if (!flag) fail(value, std::string(key.str()) + " is not true or false");
  return *flag;
}

void fail_unknown(const toml::key& key, const toml::node& value) {
  fail(value, "unknown key " + std::string(key.str()));
}

void read_file(const std::string& path, const std::function<void(const toml::table&)>& read) {
  const std::string text = contents_of(path);
  try {
    read(toml::parse(text, path));
  } catch (const toml::parse_error& error) {
    throw std::runtime_error(at(path, error.source().begin, std::string(error.description())));
  } catch (const FileError& error) {
    throw std::runtime_error(at(path, error.where, error.what));
  }
}

}  // namespace aaa_sim::toml_file
