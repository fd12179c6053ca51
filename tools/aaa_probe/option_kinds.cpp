#include "option_kinds.h"

namespace aaa_probe {
namespace {

// What an item can have.
constexpr std::size_t kMaxName = 64;
constexpr std::uint32_t kMaxParallel = 1000;

void read_text(const std::string& name, const std::string& text, std::string& value,
               std::size_t size) {
  if (text.empty() || text.size() > size)
    throw CLI::ValidationError(name, "must have 1 to " + std::to_string(size) + " bytes");
  value = text;
}

}  // namespace

CLI::Option* add_text(CLI::App& app, const std::string& name, std::string& value,
                      const std::string& purpose, std::size_t size) {
  const auto read = [name, size, &value](const std::string& text) {
    read_text(name, text, value, size);
  };
  return app.add_option_function<std::string>(name, read, purpose)->type_name("TEXT");
}

CLI::Option* add_hex(CLI::App& app, const std::string& name, std::string& value,
                     const std::string& purpose) {
  const auto read = [name, &value](const std::string& text) {
    const auto bytes = parse_hex(text);
    if (!bytes || bytes->size() > kMaxItem) throw bad_value(name, text, "hexadecimal digits");
    value = *bytes;
  };
  return app.add_option_function<std::string>(name, read, purpose)->type_name("HEX");
}

void add_user(CLI::App& app, std::string& user) {
  add_text(app, "USER", user, "Name of the user", kMaxName)->required();
}

void add_password_source(CLI::App& app, PasswordSource& source) {
  CLI::Option* const from_stdin = app.add_flag("--password-stdin", source.is_stdin,
                                               "Read the password from standard input, a line");
  app.add_option("--password-file", source.file, "Read the password from a file, its first line")
      ->type_name("FILE")
      ->excludes(from_stdin);
}

void add_places(CLI::App& app, Places& places) {
  add_text(app, "--nas-port-id", places.nas_port_id, "Name of the port", 100);
  add_text(app, "--called-station", places.called_station, "Address that the user has called", 100);
  add_text(app, "--calling-station", places.calling_station, "Address of the user", 128);
  add_text(app, "--chargeable-user-identity", places.chargeable_user_identity,
           "As an earlier result brought it", kMaxItem);
}

void add_load(CLI::App& app, LoadOptions& load) {
  add_number(app, "--repeat", load.repeat, "Requests to make; prints a summary", {.least = 1});
  add_number(app, "--parallel", load.parallel, "Requests at a time",
             {.least = 1, .most = kMaxParallel});
  app.add_option("--rate", load.rate, "Requests per second, at most")
      ->type_name("NUMBER")
      ->check(CLI::PositiveNumber);
}

}  // namespace aaa_probe
