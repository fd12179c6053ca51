#include "options.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>

#include "accounting.h"
#include "ldap_search.h"
#include "login.h"
#include "option_kinds.h"
#include "password_change.h"
#include "queries.h"
#include "watch.h"

namespace aaa_probe {
namespace {

// The options of a command live as long as what runs it.
template <class Options>
void run_with(CLI::App& app, Command& command, std::shared_ptr<Options> options,
              Status (*run)(const Options&, const Context&)) {
  app.callback([&command, options, run] {
    command.run = [options, run](const Context& context) { return run(*options, context); };
  });
}

void run_plain(CLI::App& app, Command& command, Status (*run)(const Context&)) {
  app.callback([&command, run] { command.run = run; });
}

void add_address(CLI::App& app, std::string& octets) {
  const auto read = [&octets](const std::string& text) {
    in_addr address{};
    if (::inet_pton(AF_INET, text.c_str(), &address) != 1)
      throw bad_value("--nas-ip-address", text, "an IPv4 address");
    octets.assign(reinterpret_cast<const char*>(&address), sizeof address);
  };
  app.add_option_function<std::string>("--nas-ip-address", read, "IPv4 address of the device")
      ->type_name("ADDRESS");
}

void add_login(CLI::App& parent, Command& command) {
  const auto options = std::make_shared<LoginOptions>();
  CLI::App& app = *parent.add_subcommand("login", "Authenticate a user");
  add_user(app, options->user);
  add_password_source(app, options->password);
  add_hex(app, "--state", options->state, "State of an open challenge, which the password answers");
  add_number(app, "--session", options->session_id, "Session id (default: a new one)",
             {.least = 1});
  add_address(app, options->nas_ip_address);
  add_number(app, "--nas-port", options->nas_port, "Number of the port");
  add_number(app, "--nas-port-type", options->nas_port_type, "5 virtual, 15 Ethernet, ...");
  add_number(app, "--service-type", options->service_type, "1 login, 2 framed, ...");
  add_places(app, options->places);
  add_load(app, options->load);
  run_with(app, command, options, login);
}

void add_totals(CLI::App& app, AccountingOptions& options) {
  add_number(app, "--seconds", options.seconds, "Duration of the session");
  add_number(app, "--octets-in", options.octets_in, "Bytes from the user");
  add_number(app, "--octets-out", options.octets_out, "Bytes to the user");
  add_number(app, "--packets-in", options.packets_in, "Packets from the user");
  add_number(app, "--packets-out", options.packets_out, "Packets to the user");
}

// Totals belong to a session that runs, a cause to its end.
void add_report(CLI::App& parent, Command& command, const char* name, ReportKind kind,
                const char* purpose) {
  const auto options = std::make_shared<AccountingOptions>();
  options->kind = kind;
  CLI::App& app = *parent.add_subcommand(name, purpose);
  add_user(app, options->user);
  add_number(app, "--session", options->session_id, "Session id of the login", {.least = 1})
      ->required();
  CLI::Option* const text = add_text(app, "--class", options->class_attribute,
                                     "Class, as the result of the login brought it", kMaxItem);
  add_hex(app, "--class-hex", options->class_attribute, "The same in hexadecimal digits")
      ->excludes(text);
  if (kind != ReportKind::start) add_totals(app, *options);
  if (kind == ReportKind::stop)
    add_number(app, "--terminate-cause", options->terminate_cause, "1 user request, ...");
  add_number(app, "--delay", options->delay, "Seconds since what is reported");
  add_places(app, options->places);
  add_load(app, options->load);
  run_with(app, command, options, account);
}

void add_accounting(CLI::App& parent, Command& command) {
  CLI::App& app = *parent.add_subcommand("acct", "Report the accounting of a session");
  app.require_subcommand(1);
  add_report(app, command, "start", ReportKind::start, "The session begins");
  add_report(app, command, "interim", ReportKind::interim, "The session goes on");
  add_report(app, command, "stop", ReportKind::stop, "The session has ended");
}

void add_method_list(CLI::App& parent, Command& command) {
  const auto query = std::make_shared<MethodListQuery>();
  CLI::App& app =
      *parent.add_subcommand("method-list", "Whether a method list exists, and its state");
  add_text(app, "NAME", query->name, "Name of the list", kMaxItem)->required();
  add_number(app, "--kind", query->kind, "Kind of the list", {.most = 10});
  run_with(app, command, query, query_method_list);
}

void add_group(CLI::App& parent, Command& command) {
  const auto query = std::make_shared<GroupQuery>();
  CLI::App& app = *parent.add_subcommand("group", "Whether aaad registers a server group");
  add_text(app, "NAME", query->name, "Name of the group", AAA_GROUP_NAME_SIZE - 1)->required();
  const auto read = [query](const std::string& text) {
    query->state = parse_number<std::uint32_t>(text);
    if (!query->state) throw bad_value("--state", text, Range<std::uint32_t>{}.text());
  };
  app.add_option_function<std::string>("--state", read, "Report this state of the RADIUS group")
      ->type_name("NUMBER");
  run_with(app, command, query, query_group);
}

void add_query(CLI::App& parent, Command& command) {
  CLI::App& app = *parent.add_subcommand("query", "Ask aaad");
  app.require_subcommand(1);
  run_plain(*app.add_subcommand("status", "The status words"), command, query_status);
  add_method_list(app, command);
  add_group(app, command);
  run_plain(*app.add_subcommand("session-id", "A session id"), command, query_session_id);
}

void add_passwd(CLI::App& parent, Command& command) {
  const auto change = std::make_shared<PasswordChange>();
  CLI::App& app = *parent.add_subcommand("passwd", "Change a local user's password");
  add_user(app, change->user);
  add_password_source(app, change->old_password);
  app.add_option("--new-password-file", change->new_password.file,
                 "Read the new password from a file, its first line")
      ->type_name("FILE");
  run_with<PasswordChange>(app, command, change,
                           [](const PasswordChange& given, const Context& context) {
                             PasswordChange complete = given;
                             complete.new_password.is_stdin =
                                 given.old_password.is_stdin && given.new_password.file.empty();
                             return change_password(complete, context);
                           });
}

void add_ldap(CLI::App& parent, Command& command) {
  const auto search = std::make_shared<LdapSearch>();
  CLI::App& app = *parent.add_subcommand("ldap", "Search in the LDAP directory");
  add_text(app, "--base", search->base, "The entry to search below", kMaxItem);
  add_text(app, "--filter", search->filter, "Such as (mail=a*)", kMaxItem);
  app.add_option("ATTRIBUTE", search->attributes, "Attributes to print (default: all)");
  run_with(app, command, search, search_ldap);
}

void add_watch(CLI::App& parent, Command& command) {
  run_plain(*parent.add_subcommand("watch", "Print notices, events and messages"), command, watch);
}

void add_common(CLI::App& app, Command& command) {
  ConnectionOptions& connection = command.connection;
  app.set_version_flag("--version", "aaa-probe " AAA_PROBE_VERSION, "Print the version and exit");
  app.add_option("-d,--directory", connection.directory,
                 "The directory that aaad uses (default: TMPDIR)");
  const auto read_uid = [&connection](const std::string& text) {
    connection.aaad_uid = parse_number<std::uint32_t>(text);
    if (!connection.aaad_uid) throw bad_value("--aaad-uid", text, "a user id");
  };
  app.add_option_function<std::string>("--aaad-uid", read_uid,
                                       "Connect only to a process of this user")
      ->type_name("UID");
  add_text(app, "--model", connection.model, "Name to register with", AAA_MODEL_NAME_SIZE - 1);
  add_number(app, "--timeout", connection.timeout,
             "Seconds to wait for aaad and for each answer (default: 10)",
             {.least = 1, .most = 3600});
  app.add_flag("--json", command.is_json, "Print JSON, an object on each line");
}

void describe(CLI::App& app, Command& command) {
  app.name("aaa-probe");
  app.description("Asks aaad, as clients of the AAA client library do.");
  app.footer(
      "Exit status: 0 accepted, 1 rejected, 2 challenge left open, 3 no daemon, 4 time-out, 64 "
      "usage.");
  app.require_subcommand(1);
  app.fallthrough();
  add_common(app, command);
  add_login(app, command);
  add_accounting(app, command);
  add_query(app, command);
  add_passwd(app, command);
  add_ldap(app, command);
  add_watch(app, command);
}

}  // namespace

std::optional<Command> parse_options(int argc, char** argv, Status& status) {
  CLI::App app;
  std::optional<Command> command(std::in_place);
  describe(app, *command);
  try {
    app.parse(argc, argv);
    return command;
  } catch (const CLI::Success& done) {
    status = static_cast<Status>(app.exit(done));
  } catch (const CLI::Error& error) {
    std::string what = error.what();
    std::ranges::replace(what, '\n', ' ');
    std::cerr << "aaa-probe: " << what << '\n';
    status = Status::usage;
  }
  return std::nullopt;
}

}  // namespace aaa_probe
