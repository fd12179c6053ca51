#include "program/options.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <vector>

#include <CLI/CLI.hpp>

#include "backend/ldif_file.h"
#include "backend/radius_file.h"
#include "backend/users_file.h"
#include "program/commands.h"
#include "program/file_name.h"
#include "program/texts.h"
#include "server/client_directory.h"

namespace aaa_sim {
namespace {

constexpr int kBadUsage = 2;
// Options that are parsed after the whole command line.
struct Texts {
  std::string users;
  std::string radius;
  std::vector<std::string> status;
  std::vector<std::string> faults;
  std::vector<std::string> method_lists;
  std::vector<std::string> server_statistics;
  std::vector<std::string> local_users;
  std::string ldif;
  std::optional<std::string> directory;
  std::uint32_t delay = 0;
  std::uint32_t heartbeat_interval = 0;
};

std::runtime_error bad(const char* option, const std::string& value, const char* wanted) {
  return std::runtime_error(std::string(option) + ": '" + value + "' is not " + wanted);
}

// The option, or TMPDIR.
std::string directory_of(const std::optional<std::string>& option) {
  const char* const variable = std::getenv("TMPDIR");
  if (!option && variable == nullptr)
    throw std::runtime_error("--directory is required when TMPDIR is not set");
  std::string directory = option ? *option : variable;
  if (const auto error = error_of_directory(directory))
    throw std::runtime_error((option ? "--directory: '" : "TMPDIR: '") + directory + "' " + *error);
  return directory;
}

// The parts before and after the first `at`.
std::pair<std::string, std::string> split(const std::string& text, char at) {
  const std::size_t position = text.find(at);
  if (position == std::string::npos) return {text, ""};
  return {text.substr(0, position), text.substr(position + 1)};
}

void apply_status(const std::string& text, aaa_status& status) {
  const auto [name, value] = split(text, '=');
  std::uint32_t* word = status_word(status, name);
  const auto number = parse_number(value);
  if (word == nullptr || !number) throw bad("--status", text, "WORD=VALUE");
  *word = *number;
}

void apply_fault(const std::string& text, Settings& settings) {
  const auto [request, kind] = split(text, '=');
  const auto [role, type] = split(request, ':');
  const auto parsed_role = parse_role(role);
  const auto parsed_type = parse_message_type(type);
  const auto parsed_kind = parse_fault(kind);
  if (!parsed_role || !parsed_type || !parsed_kind) throw bad("--fault", text, "ROLE:TYPE=KIND");
  settings.faults[{*parsed_role, *parsed_type}] = *parsed_kind;
}

void apply_method_list(const std::string& text, Settings& settings) {
  const auto list = parse_method_list(text);
  if (!list) throw bad("--method-list", text, "KIND:NAME=STATE");
  settings.method_lists.push_back(*list);
}

void apply_server_statistic(const std::string& text, Settings& settings) {
  const auto [word, value] = split(text, '=');
  const auto parsed_word = parse_number(word);
  const auto parsed_value = parse_number(value);
  if (!parsed_word || !parsed_value) throw bad("--server-statistic", text, "WORD=VALUE");
  settings.server_statistics[*parsed_word] = *parsed_value;
}

void apply_local_user(const std::string& text, Settings& settings) {
  const auto user = parse_local_user(text);
  if (!user) throw bad("--local-user", text, "NAME:PASSWORD");
  settings.local_users.push_back(*user);
}

// Parsed by parse_number(), not as a C literal: 010 is ten.
void add_number(CLI::App& app, const char* option, std::uint32_t& value,
                const std::string& purpose) {
  const auto read = [option, &value](const std::string& text) {
    const auto number = parse_number(text);
    if (!number) throw bad(option, text, "a number from 0 to 4294967295");
    value = *number;
  };
  app.add_option_function<std::string>(option, read, purpose)->type_name("NUMBER");
}

CLI::Option* add_file(CLI::App& app, const char* option, std::string& name,
                      const std::string& purpose) {
  return app.add_option(option, name, purpose)->check(refuse_empty);
}

void describe_contents(CLI::App& app, Settings& settings, Texts& texts) {
  add_file(app, "--users", texts.users,
           "TOML file with [[user]] tables: name, password, result, ...");
  add_file(app, "--radius", texts.radius,
           "TOML file with the RADIUS servers that decide instead, and their secrets");
  app.add_option("--method-list", texts.method_lists, "KIND:NAME=STATE, add a method list");
  app.add_option("--server-statistic", texts.server_statistics,
                 "WORD=VALUE, answer queries for server statistic WORD with VALUE");
  add_file(app, "--ldif", texts.ldif, "LDIF file with the entries for LDAP searches");
  add_file(app, "--local-users", settings.local_users_file,
           "SQLite file with the local users (default: in memory)");
  app.add_option("--local-user", texts.local_users,
                 "NAME:PASSWORD, add a local user unless one of that name exists");
}

void describe_options(CLI::App& app, Options& options, Texts& texts) {
  Settings& settings = options.settings;
  app.description(
      "A stand-in for aaad, the daemon that clients of the AAA client library talk to.");
  app.footer(
      "aaad-sim's convention for a result's sub.num_a: 0 accepted, 1 rejected, 3 challenge, 4 no "
      "server answered.\n\n"
      "With --control these commands are read from standard input:\n" +
      command_help());
  app.set_version_flag("--version", "aaad-sim " AAAD_SIM_VERSION, "Print the version and exit");
  app.add_option("--directory", texts.directory,
                 "The clients' TMPDIR, to listen below (default: TMPDIR)");
  describe_contents(app, settings, texts);
  add_number(app, "--aaa-id", settings.aaa_id, "Id for clients that register; 255 refuses them");
  app.add_option("--status", texts.status, "WORD=VALUE, set a status word by name or number");
  add_number(app, "--first-session-id", settings.next_session_id,
             "First session id; 0 grants none");
  add_number(app, "--session-ids", settings.session_ids, "Number of session ids in a block");
  app.add_flag("!--no-heartbeat", settings.answer_heartbeats, "Do not answer heartbeats");
  add_number(app, "--heartbeat-interval", texts.heartbeat_interval,
             "Interval of unsolicited heartbeats in milliseconds");
  app.add_option(
      "--fault", texts.faults,
      "ROLE:TYPE=KIND, make the answers to messages of TYPE on the request or event "
      "connection faulty: silent, wrong-type, empty-body, short-body, close, close-after");
  app.add_flag("--silent", settings.silent, "Do not answer any message");
  app.add_flag("--byte-wise", settings.byte_wise, "Write byte by byte");
  add_number(app, "--delay", texts.delay, "Delay of every answer in milliseconds");
  app.add_flag("--control", options.control, "Read commands from standard input");
  CLI::Option* const quiet = app.add_flag("--quiet", options.quiet, "Do not print messages");
  app.add_flag("--fields", options.fields, "Print the fields of every message")->excludes(quiet);
  CLI::Option* const capture =
      add_file(app, "--capture", options.capture, "Write all messages to this file, as pcapng");
  app.add_flag("--capture-secrets", options.capture_secrets,
               "Do not mask passwords and keys in the capture")
      ->needs(capture);
}

void apply_texts(const Texts& texts, Settings& settings) {
  for (const std::string& text : texts.status)
    apply_status(text, settings.status);
  for (const std::string& text : texts.faults)
    apply_fault(text, settings);
  for (const std::string& text : texts.method_lists)
    apply_method_list(text, settings);
  for (const std::string& text : texts.server_statistics)
    apply_server_statistic(text, settings);
  for (const std::string& text : texts.local_users)
    apply_local_user(text, settings);
  settings.delay = std::chrono::milliseconds(texts.delay);
  settings.heartbeat_interval = std::chrono::milliseconds(texts.heartbeat_interval);
  if (!texts.users.empty()) settings.users = load_users(texts.users);
  if (!texts.radius.empty()) settings.radius = load_radius(texts.radius);
  if (!texts.ldif.empty()) settings.directory = load_ldif(texts.ldif);
}

int print_error(std::string what) {
  std::ranges::replace(what, '\n', ' ');
  std::cerr << "aaad-sim: " << what << '\n';
  return kBadUsage;
}

}  // namespace

std::optional<Options> parse_options(int argc, char** argv, int& exit_status) {
  CLI::App app;
  app.name("aaad-sim");
  Options options;
  Texts texts;
  describe_options(app, options, texts);
  try {
    app.parse(argc, argv);
    options.directory = directory_of(texts.directory);
    apply_texts(texts, options.settings);
    return options;
  } catch (const CLI::Success& done) {
    exit_status = app.exit(done);
  } catch (const std::exception& error) {
    exit_status = print_error(error.what());
  }
  return std::nullopt;
}

}  // namespace aaa_sim
