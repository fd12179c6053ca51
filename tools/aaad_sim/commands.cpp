#include "commands.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>
#include <vector>

#include "setting_texts.h"

namespace aaa_sim {
namespace {

using Words = std::vector<std::string>;

// Thrown for words that cannot be read; becomes the command's error line.
struct BadWord {
  std::string what;
};

template <typename Value>
Value need(std::optional<Value> value, const std::string& word, const char* kind) {
  if (!value) throw BadWord{"'" + word + "' is not " + kind};
  return *std::move(value);
}

std::uint32_t number(const std::string& word) {
  return need(parse_number(word), word, "a number");
}

Bytes bytes(const std::string& word) {
  return need(parse_hex(word), word, "hexadecimal bytes");
}

Role role(const std::string& word) {
  return need(parse_role(word), word, "request or event");
}

bool on_or_off(const std::string& word) {
  if (word != "on" && word != "off") throw BadWord{"'" + word + "' is not on or off"};
  return word == "on";
}

CommandResult sent_to(std::size_t connections) {
  if (connections == 0) return {.error = "no client is registered"};
  return {};
}

CommandResult set(AaadSim& sim, const std::function<void(Settings&)>& edit) {
  sim.change(edit);
  return {};
}

CommandResult send_on(AaadSim& sim, Role target, const Words& words) {
  const Bytes body = words.size() > 2 ? bytes(words[2]) : Bytes{};
  return sent_to(sim.send_message({}, target, number(words[0]), number(words[1]), body));
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

CommandResult debug(AaadSim& sim, const Words& words) {
  const std::uint32_t body[] = {on_or_off(words[0]), words.size() > 1 ? number(words[1]) : 0};
  return sent_to(sim.send_message({}, Role::event, AAA_MSG_AAA_DEBUG_INFO, 0, encode_words(body)));
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

CommandResult mlist(AaadSim& sim, const Words&) {
  return sent_to(sim.send_message({}, Role::event, AAA_MSG_MLIST_CHANGE, 0));
}

CommandResult heartbeat(AaadSim& sim, const Words&) {
  return sent_to(sim.send_message({}, Role::event, AAA_MSG_HEARTBEAT, 0));
}

CommandResult heartbeats(AaadSim& sim, const Words& words) {
  return set(sim, [on = on_or_off(words[0])](Settings& s) { s.answer_heartbeats = on; });
}

CommandResult aaa_id(AaadSim& sim, const Words& words) {
  return set(sim, [id = number(words[0])](Settings& s) { s.aaa_id = id; });
}

CommandResult fault(AaadSim& sim, const Words& words) {
  const Fault kind = need(parse_fault(words[2]), words[2], "a fault");
  sim.set_fault(role(words[0]), number(words[1]), kind);
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

struct Command {
  std::string_view name;
  std::size_t min_words;
  std::size_t max_words;
  const char* words;
  const char* purpose;
  CommandResult (*run)(AaadSim&, const Words&);
};

constexpr Command kCommands[] = {
    {"send", 2, 3, "TYPE ID [HEX]", "send a message on every event connection", send},
    {"reply", 2, 3, "TYPE ID [HEX]", "send a message on every request connection", reply},
    {"raw", 2, 2, "request|event HEX", "send bytes as they are", raw},
    {"debug", 1, 2, "on|off [LIMIT]", "switch the clients' debug lines", debug},
    {"status", 2, 2, "WORD VALUE", "change a status word and tell the clients", status},
    {"mlist", 0, 0, "", "tell the clients that method lists have changed", mlist},
    {"heartbeat", 0, 0, "", "send a heartbeat", heartbeat},
    {"heartbeats", 1, 1, "on|off", "answer the clients' heartbeats", heartbeats},
    {"aaa-id", 1, 1, "ID", "the id that clients get from now on; 255 refuses them", aaa_id},
    {"fault", 3, 3, "request|event TYPE KIND", "spoil the answers to messages of a type", fault},
    {"silent", 1, 1, "on|off", "answer nothing", silent},
    {"delay", 1, 1, "MILLISECONDS", "answer later", delay},
    {"byte-wise", 1, 1, "on|off", "write every byte by itself", byte_wise},
    {"reading", 1, 1, "on|off", "read what clients send", reading},
    {"listening", 1, 1, "on|off", "have a socket to connect to", listening},
    {"close", 0, 0, "", "close all connections", close},
    {"clients", 0, 0, "", "list the registered clients", clients},
    {"help", 0, 0, "", "list the commands", help},
    {"quit", 0, 0, "", "end", quit},
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
  } catch (const std::system_error& error) {
    return {.error = std::string(command.name) + ": " + error.what()};
  }
}

}  // namespace

CommandResult run_command(AaadSim& sim, std::string_view line) {
  std::istringstream text{std::string(line)};
  std::string name;
  if (!(text >> name)) return {};
  const Words words{std::istream_iterator<std::string>(text), {}};
  const auto* command = std::ranges::find(kCommands, name, &Command::name);
  if (command == std::end(kCommands)) return {.error = "unknown command '" + name + "', try help"};
  return run(sim, *command, words);
}

std::string command_help() {
  std::string text;
  for (const Command& command : kCommands) {
    std::string left = usage(command);
    left.resize(std::max<std::size_t>(left.size(), 32), ' ');
    text += left + " " + command.purpose + "\n";
  }
  return text;
}

}  // namespace aaa_sim
