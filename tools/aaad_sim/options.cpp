#include "options.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "setting_texts.h"
#include "users_file.h"

namespace aaa_sim {
namespace {

constexpr int kBadUsage = 2;

// Options whose text is read after the command line has been taken apart.
struct Texts {
  std::string users;
  std::vector<std::string> status;
  std::vector<std::string> faults;
  std::uint32_t delay = 0;
  std::uint32_t heartbeat_interval = 0;
};

std::runtime_error bad(const char* option, const std::string& value, const char* wanted) {
  return std::runtime_error(std::string(option) + ": '" + value + "' is not " + wanted);
}

// "NAME=VALUE" in two.
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
  const auto parsed_type = parse_number(type);
  const auto parsed_kind = parse_fault(kind);
  if (!parsed_role || !parsed_type || !parsed_kind) throw bad("--fault", text, "ROLE:TYPE=KIND");
  settings.faults[{*parsed_role, *parsed_type}] = *parsed_kind;
}

void describe_options(CLI::App& app, Options& options, Texts& texts) {
  Settings& settings = options.settings;
  app.description("Stands in for aaad, the daemon of the AAA client library.");
  app.footer("With --control these commands are read from standard input:\n" + command_help());
  app.add_option("--directory", options.directory, "Listen below this directory")
      ->envname("TMPDIR")
      ->required();
  app.add_option("--users", texts.users, "File with [[user]] tables: name, password, result, ...");
  app.add_option("--aaa-id", settings.aaa_id, "Id that clients get; 255 refuses them");
  app.add_option("--status", texts.status, "WORD=VALUE, a status word by name or number");
  app.add_option("--first-session-id", settings.next_session_id, "First session id; 0 grants none");
  app.add_option("--session-ids", settings.session_ids, "Session ids in a block");
  app.add_flag("!--no-heartbeat", settings.answer_heartbeats, "Do not answer heartbeats");
  app.add_option("--heartbeat-interval", texts.heartbeat_interval,
                 "Send heartbeats by itself, in milliseconds");
  app.add_option("--fault", texts.faults,
                 "ROLE:TYPE=KIND, spoil the answers to messages of TYPE on the request or event "
                 "connection: silent, wrong-type, empty-body, short-body, close, close-after");
  app.add_flag("--silent", settings.silent, "Answer nothing");
  app.add_flag("--byte-wise", settings.byte_wise, "Write every byte by itself");
  app.add_option("--delay", texts.delay, "Answer later, in milliseconds");
  app.add_flag("--control", options.control, "Read commands from standard input");
  app.add_flag("--quiet", options.quiet, "Do not print the messages");
}

void apply_texts(const Texts& texts, Settings& settings) {
  for (const std::string& text : texts.status)
    apply_status(text, settings.status);
  for (const std::string& text : texts.faults)
    apply_fault(text, settings);
  settings.delay = std::chrono::milliseconds(texts.delay);
  settings.heartbeat_interval = std::chrono::milliseconds(texts.heartbeat_interval);
  if (!texts.users.empty()) settings.users = load_users(texts.users);
}

int complain(std::string what) {
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
    apply_texts(texts, options.settings);
    return options;
  } catch (const CLI::CallForHelp& help) {
    exit_status = app.exit(help);
  } catch (const std::exception& error) {
    exit_status = complain(error.what());
  }
  return std::nullopt;
}

}  // namespace aaa_sim
