// Writes the seed corpus: one directory for each fuzz target, with bodies that the encoders made,
// and for the link with messages around them.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "fuzz/link/link_script.h"
#include "fuzz/link/scripted_client.h"
#include "messages/samples.h"
#include "traffic/calls.h"

namespace fuzz {
namespace {

// Seeds of the link's target, by name.
using Corpus = std::map<std::string, Script>;
using test::word_bytes;
using traffic::Message;

Step event(const Message& frame) {
  return {Kind::event, 0, frame.bytes()};
}
Step answer(const Message& frame) {
  return {Kind::answer, 0, frame.bytes()};
}
Step fault(Kind kind, std::uint16_t number = 0) {
  return {kind, number, {}};
}

Step ask(std::uint32_t question) {
  return event({"question", AAA_MSG_DEL_MSG_REQ, word_bytes({question, 9, 0})});
}

// A message in a piece for each byte.
std::vector<Step> in_bytes(const Step& whole) {
  std::vector<Step> steps;
  for (const char byte : whole.bytes)
    steps.push_back(
        {steps.empty() || !is_answer(whole.kind) ? whole.kind : Kind::more_answer, 0, {byte}});
  return steps;
}

// The answers to both register requests.
std::vector<Step> registration() {
  return {answer(traffic::register_answer()), event(traffic::info_ready())};
}

Script all_events(std::uint8_t flags) {
  Script script = {flags, {}};
  for (const Message& frame : traffic::event_messages())
    script.steps.push_back(event(frame));
  return script;
}

// The link is lost and built anew, and then a message arrives.
Script loss(std::uint8_t flags, Step fault) {
  Script script = {flags, registration()};
  script.steps.push_back(std::move(fault));
  for (Step& step : registration())
    script.steps.push_back(std::move(step));
  script.steps.push_back(event({"mlist_change", 122, ""}));
  return script;
}

void add_single_events(Corpus& corpus) {
  for (const Message& frame : traffic::event_messages()) {
    corpus["event_" + frame.name] = {kAcceptsClients, {event(frame)}};
    corpus["agent_" + frame.name] = {kAcceptsClients | kAgentMode | kDebugGate, {event(frame)}};
  }
}

void add_answers(Corpus& corpus) {
  for (std::uint32_t n = 0; n < traffic::questions().size(); ++n) {
    const traffic::Exchange& exchange = traffic::questions()[n];
    corpus["answer_" + std::string(exchange.name)] = {
        kAcceptsClients, {ask(n), answer(traffic::full_answer(exchange))}};
  }
  corpus["answer_missing"] = {kAcceptsClients, {ask(0), ask(kAccounting)}};
  corpus["user_forgotten"] = {kAcceptsClients, {ask(kForgetUser)}};
  corpus["result_for_a_waiter"] = {kAcceptsClients | kNoCallbacks,
                                   {event(traffic::event_messages()[1]), ask(kResult)}};
}

void add_losses(Corpus& corpus) {
  for (const std::uint8_t flags : {std::uint8_t{0}, std::uint8_t{kAgentMode}}) {
    const std::string mode = flags == 0 ? "thread_" : "agent_";
    corpus[mode + "closed"] = loss(flags, fault(Kind::close, 1));
    corpus[mode + "silent"] = loss(flags, fault(Kind::clock, 200));
    corpus[mode + "reset"] = loss(flags, fault(Kind::read_error, 3));
    corpus[mode + "no_memory"] = loss(flags, fault(Kind::no_memory, 0));
    corpus[mode + "wrong_marker"] = loss(flags, {Kind::event, 0, std::string(16, '\x7f')});
    corpus[mode + "unwritable"] = loss(flags, fault(Kind::write_error, 2));
  }
}

void add_registrations(Corpus& corpus) {
  corpus["nothing"] = {};
  corpus["registration"] = {0, registration()};
  Script bytewise;
  for (const Step& step : registration())
    for (Step& piece : in_bytes(step))
      bytewise.steps.push_back(std::move(piece));
  corpus["registration_by_bytes"] = bytewise;
  corpus["refused"] = {0, {answer({"refusal", 100, word_bytes(255)})}};
}

Corpus link_corpus() {
  Corpus corpus;
  corpus["thread"] = all_events(kAcceptsClients);
  corpus["thread_with_lines"] = all_events(kAcceptsClients | kDebugGate);
  corpus["thread_without_callbacks"] = all_events(kAcceptsClients | kNoCallbacks);
  corpus["agent"] = all_events(kAcceptsClients | kAgentMode);
  add_single_events(corpus);
  add_answers(corpus);
  add_losses(corpus);
  add_registrations(corpus);
  return corpus;
}

}  // namespace
}  // namespace fuzz

namespace {

namespace fs = std::filesystem;
using test::word_bytes;

void write(const fs::path& directory, const std::string& name, const std::string& bytes) {
  fs::create_directories(directory);
  std::ofstream file(directory / name, std::ios::binary);
  file << bytes;
  if (!file) {
    std::cerr << "cannot write " << directory / name << '\n';
    std::exit(EXIT_FAILURE);
  }
}

template <typename Record>
void write_info_record(const fs::path& directory) {
  Record record{};
  write(directory, "empty", test::encoded_body(test::Codec<Record>::encode, record));
  write(directory, "full", traffic::full_body<Record>());
}

// A byte with the socket and the sender, and a message.
void write_messages(const fs::path& directory) {
  for (const test::MessageSample& sample : test::message_samples()) {
    const int socket = static_cast<int>(sample.socket);
    const int sender = static_cast<int>(sample.sender);
    write(directory, sample.name, static_cast<char>(socket | sender << 2) + sample.bytes());
  }
}

void write_radext(const fs::path& directory) {
  radext_msg record{};
  record.text_a = record.text_c = record.text_h = "text";
  record.flag_a = 1;
  std::string block = test::zeros(AAA_RADEXT_BLOCK_SIZE);
  aaa_encap_radext_msg_sub(block.data(), &record);
  write(directory, "message", block);
}

// A byte of flags and a packet; digests and signatures are the target's work.
std::string radius_input(int flags, int code, const std::string& attributes) {
  std::string input = test::zeros(21);
  input[0] = static_cast<char>(flags);
  input[1] = static_cast<char>(code);
  input[4] = static_cast<char>(20 + attributes.size());
  return input + attributes;
}

void write_radius(const fs::path& directory) {
  using test::hex;
  const std::string signature = hex("5012") + test::zeros(16);
  write(directory, "accept", radius_input(4, 2, signature + hex("01036e 12044869 1b060000003c")));
  write(directory, "vlan",
        radius_input(4, 2, signature + hex("40060100000d 410601000006 51040139")));
  write(directory, "key",
        radius_input(4, 2, signature + hex("1a2a00000137 11248001") + test::zeros(32)));
  write(directory, "challenge", radius_input(4, 11, signature + hex("180373 4f070101000501")));
  write(directory, "reject", radius_input(2, 3, hex("190363")));
  write(directory, "accounting", radius_input(3, 5, ""));
  write(directory, "disconnect", radius_input(0, 40, hex("2c0a3030303030303037 210370")));
  write(directory, "coa", radius_input(4, 43, signature + hex("01036e 200373")));
}

// A capture of short messages.
void write_capture(const fs::path& directory) {
  using test::hex;
  std::string capture =
      hex("0a0d0d0a 1c000000 4d3c2b1a 0100 0000 ffffffffffffffff 1c000000"
          "01000000 20000000 9300 0000 00000000 0200 0100 78000000 0000 0000"
          "20000000");
  for (const test::MessageSample& sample : test::message_samples()) {
    std::string bytes = sample.bytes();
    if (bytes.size() > 64) continue;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    bytes.resize((bytes.size() + 3) / 4 * 4);
    const auto length = static_cast<std::uint32_t>(44 + bytes.size());
    capture += word_bytes({6, length, 0, 0, 1, size, size}) + bytes +
               word_bytes({4 << 16 | 2, 1, 0, length});
  }
  write(directory, "messages", capture);
}

void write_link(const fs::path& directory) {
  for (const auto& [name, script] : fuzz::link_corpus())
    write(directory, name, fuzz::write_script(script));
}

// Words of the link's messages, for the fuzzer: the marker and the id ahead of each type that aaad
// sends, lengths at which a handler begins to read its body, and the tags of items.
void write_dictionary(const fs::path& file) {
  std::ofstream out(file);
  const auto write_word = [&out](const std::string& bytes) {
    out << '"' << std::hex << std::setfill('0');
    for (const char byte : bytes)
      out << "\\x" << std::setw(2) << int{static_cast<unsigned char>(byte)};
    out << "\"\n";
  };
  std::vector<std::uint32_t> types = {AAA_MSG_GET_SESSION_ID, AAA_MSG_LOCAL_QUERY_PWD};
  for (std::uint32_t type = AAA_MSG_REGISTER_RESP; type <= AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT;
       ++type)
    types.push_back(type);
  for (const std::uint32_t type : types)
    write_word(word_bytes({0x01010101, 0, type}));
  for (const std::uint32_t length :
       {8u, 12u, 24u, 40u, 396u, 560u, 720u, 0x7fffffefu, 0x7ffffff0u, 0x80000000u, 0xffffffffu})
    write_word(word_bytes({length}));
  for (std::uint32_t tag = 298; tag <= 322; ++tag)
    write_word(word_bytes(tag).substr(0, 2));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " DIRECTORY\n";
    return EXIT_FAILURE;
  }
  const fs::path corpus = argv[1];
  write_info_record<authen_info>(corpus / "authen_info");
  write_info_record<author_info>(corpus / "author_info");
  write_info_record<acct_info>(corpus / "acct_info");
  write_info_record<result_info>(corpus / "result_info");
  write_messages(corpus / "messages");
  write_radext(corpus / "radext");
  write(corpus / "ldap_search_info", "question", traffic::ldap_search_body());
  write(corpus / "ldap_search_result", "answer", traffic::ldap_answer_body());
  write_radius(corpus / "radius");
  write_capture(corpus / "capture");
  write_link(corpus / "link");
  write_dictionary(corpus / "link.dict");
}
