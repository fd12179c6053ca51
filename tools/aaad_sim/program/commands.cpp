#include "program/commands.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <sstream>
#include <stdexcept>

#include "program/command.h"
#include "program/event_commands.h"
#include "program/texts.h"

namespace aaa_sim {
namespace {

CommandResult set(AaadSim& sim, const std::function<void(Settings&)>& edit) {
  sim.change(edit);
  return {};
}

CommandResult send_on(AaadSim& sim, Role target, const Words& words) {
  return sent_to(
      sim.send_message({}, target, message_type(words[0]), number(words[1]), bytes_at(words, 2)));
}

CommandResult send(AaadSim& sim, const Words& words) {
  return send_on(sim, Role::event, words);
}

CommandResult reply(AaadSim& sim, const Words& words) {
  return send_on(sim, Role::request, words);
}

CommandResult raw(AaadSim& sim, const Words& words) {
  return sent_to(sim.send_raw({}, role(words[0]), bytes(words[1])));
}

CommandResult status(AaadSim& sim, const Words& words) {
  const std::uint32_t value = number(words[1]);
  bool known = false;
  sim.change([&](Settings& settings) {
    std::uint32_t* word = status_word(settings.status, words[0]);
    known = word != nullptr;
    if (known) *word = value;
  });
  if (!known) throw BadWord{"'" + words[0] + "' is not a status word"};
  return sent_to(sim.send_status());
}

CommandResult heartbeats(AaadSim& sim, const Words& words) {
  return set(sim, [on = on_or_off(words[0])](Settings& s) { s.answer_heartbeats = on; });
}

CommandResult aaa_id(AaadSim& sim, const Words& words) {
  return set(sim, [id = number(words[0])](Settings& s) { s.aaa_id = id; });
}

CommandResult fault(AaadSim& sim, const Words& words) {
  const Fault kind = need(parse_fault(words[2]), words[2], "a fault");
  sim.set_fault(role(words[0]), message_type(words[1]), kind);
  return {};
}

CommandResult silent(AaadSim& sim, const Words& words) {
  return set(sim, [on = on_or_off(words[0])](Settings& s) { s.silent = on; });
}

CommandResult delay(AaadSim& sim, const Words& words) {
  return set(sim,
             [by = std::chrono::milliseconds(number(words[0]))](Settings& s) { s.delay = by; });
}

CommandResult byte_wise(AaadSim& sim, const Words& words) {
  return set(sim, [on = on_or_off(words[0])](Settings& s) { s.byte_wise = on; });
}

CommandResult reading(AaadSim& sim, const Words& words) {
  return set(sim, [on = on_or_off(words[0])](Settings& s) { s.reading = on; });
}

CommandResult listening(AaadSim& sim, const Words& words) {
  return set(sim, [on = on_or_off(words[0])](Settings& s) { s.listening = on; });
}

CommandResult method_list(AaadSim& sim, const Words& words) {
  const MethodList list{number(words[0]), words[1], number(words[2])};
  return set(sim, [&](Settings& settings) {
    std::erase_if(settings.method_lists, [&](const MethodList& old) {
      return old.kind == list.kind && old.name == list.name;
    });
    settings.method_lists.push_back(list);
  });
}

CommandResult local_user(AaadSim& sim, const Words& words) {
  sim.put_local_user(need(parse_local_user(words[0] + ":" + words[1]), words[0],
                          "a name of a local user with a password"));
  return {};
}

CommandResult reports(AaadSim& sim, const Words&) {
  return {.output = describe(sim.reports())};
}

CommandResult close(AaadSim& sim, const Words&) {
  sim.close_connections();
  return {};
}

CommandResult clients(AaadSim& sim, const Words&) {
  CommandResult result;
  for (const ClientName& client : sim.clients())
    result.output += describe(client) + "\n";
  return result;
}

CommandResult help(AaadSim&, const Words&) {
  return {.output = command_help()};
}

CommandResult quit(AaadSim&, const Words&) {
  return {.quit = true};
}

constexpr Command kCommands[] = {
    {"send", 2, 3, "TYPE ID [HEX]", "send a message on every event connection", send},
    {"reply", 2, 3, "TYPE ID [HEX]", "send a message on every request connection", reply},
    {"raw", 2, 2, "request|event HEX", "send raw bytes on every connection of that role", raw},
    {"status", 2, 2, "WORD VALUE", "set a status word and send the status words", status},
    {"heartbeats", 1, 1, "on|off", "answer the clients' heartbeats", heartbeats},
    {"aaa-id", 1, 1, "ID", "set the id for clients that register; 255 refuses them", aaa_id},
    {"fault", 3, 3, "request|event TYPE KIND", "make the answers to a type of message faulty",
     fault},
    {"silent", 1, 1, "on|off", "do not answer any message", silent},
    {"delay", 1, 1, "MILLISECONDS", "delay every answer", delay},
    {"byte-wise", 1, 1, "on|off", "write byte by byte", byte_wise},
    {"reading", 1, 1, "on|off", "read what clients send", reading},
    {"listening", 1, 1, "on|off", "accept connections", listening},
    {"close", 0, 0, "", "close all connections", close},
    {"method-list", 3, 3, "KIND NAME STATE", "add or replace a method list", method_list},
    {"local-user", 2, 2, "NAME PASSWORD", "add or replace a local user", local_user},
    {"reports", 0, 0, "", "list what clients have reported", reports},
    {"clients", 0, 0, "", "list registered clients", clients},
    {"help", 0, 0, "", "list the commands", help},
    {"quit", 0, 0, "", "end the program", quit},
};

std::string usage(const Command& command) {
  const std::string name(command.name);
  return *command.words == '\0' ? name : name + " " + command.words;
}

CommandResult run(AaadSim& sim, const Command& command, const Words& words) {
  if (words.size() < command.min_words || words.size() > command.max_words)
    return {.error = "usage: " + usage(command)};
  try {
    return command.run(sim, words);
  } catch (const BadWord& bad) {
    return {.error = std::string(command.name) + ": " + bad.what};
  } catch (const std::runtime_error& error) {
    return {.error = std::string(command.name) + ": " + error.what()};
  }
}

std::string help_of(std::span<const Command> commands) {
  std::string text;
  for (const Command& command : commands) {
    std::string left = usage(command);
    left.resize(std::max<std::size_t>(left.size(), 32), ' ');
    text += left + " " + command.purpose + "\n";
  }
  return text;
}

}  // namespace

CommandResult run_command(AaadSim& sim, std::string_view line) {
  std::istringstream text{std::string(line)};
  std::string name;
  if (!(text >> name)) return {};
  const Words words{std::istream_iterator<std::string>(text), {}};
  for (const auto commands : {std::span<const Command>(kCommands), event_commands()}) {
    const auto command = std::ranges::find(commands, name, &Command::name);
    if (command != commands.end()) return run(sim, *command, words);
  }
  return {.error = "unknown command '" + name + "', try help"};
}

std::string command_help() {
  return help_of(kCommands) + help_of(event_commands());
}

}  // namespace aaa_sim
