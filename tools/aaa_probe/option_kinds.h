// Kinds of options that several commands have.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "bytes.h"
#include "commands.h"
#include "load.h"
#include "numbers.h"
#include "password_input.h"

namespace aaa_probe {

// Bytes that an item holds.
inline constexpr std::size_t kMaxItem = 65535;

inline CLI::ValidationError bad_value(const std::string& option, const std::string& value,
                                      const std::string& wanted) {
  return CLI::ValidationError(option, "'" + value + "' is not " + wanted);
}

template <class Number>
CLI::Option* add_number(CLI::App& app, const std::string& name, Number& value,
                        const std::string& purpose, Range<Number> range = {}) {
  const auto read = [name, range, &value](const std::string& text) {
    const auto number = parse_number<Number>(text);
    if (!number || !range.has(*number)) throw bad_value(name, text, range.text());
    value = *number;
  };
  return app.add_option_function<std::string>(name, read, purpose)->type_name("NUMBER");
}

// A text of at most `size` bytes.
CLI::Option* add_text(CLI::App& app, const std::string& name, std::string& value,
                      const std::string& purpose, std::size_t size);
CLI::Option* add_hex(CLI::App& app, const std::string& name, std::string& value,
                     const std::string& purpose);
void add_user(CLI::App& app, std::string& user);
void add_password_source(CLI::App& app, PasswordSource& source);
void add_places(CLI::App& app, Places& places);
void add_load(CLI::App& app, LoadOptions& load);

}  // namespace aaa_probe
