#include "fuzz/link_corpus.h"

#include "hostile/golden_frames.h"

namespace fuzz {
namespace {

using test::GoldenFrame;

Step event(const GoldenFrame& frame) {
  return {Kind::event, 0, test::bytes_of(frame)};
}
Step answer(const GoldenFrame& frame) {
  return {Kind::answer, 0, test::bytes_of(frame)};
}
Step fault(Kind kind, std::uint16_t number = 0) {
  return {kind, number, {}};
}

Step ask(Question question) {
  return event({"question", 123, test::BodyBuilder().word32(question).word32(9).word32(0).body()});
}

// A message in a piece for each byte.
std::vector<Step> in_bytes(const Step& whole) {
  std::vector<Step> steps;
  for (const std::uint8_t byte : whole.bytes)
    steps.push_back(
        {steps.empty() || !is_answer(whole.kind) ? whole.kind : Kind::more_answer, 0, {byte}});
  return steps;
}

// The answers to both register requests.
std::vector<Step> registration() {
  return {answer(test::golden_registration()), event(test::golden_welcome())};
}

Script all_events(std::uint8_t flags) {
  Script script = {flags, {}};
  for (const GoldenFrame& frame : test::golden_events())
    script.steps.push_back(event(frame));
  return script;
}

// The link is lost and built anew, and then a message arrives.
Script loss(std::uint8_t flags, Step fault) {
  Script script = {flags, registration()};
  script.steps.push_back(std::move(fault));
  for (Step& step : registration())
    script.steps.push_back(std::move(step));
  script.steps.push_back(event({"mlist_change", 122, {}}));
  return script;
}

void add_single_events(std::map<std::string, Script>& corpus) {
  for (const GoldenFrame& frame : test::golden_events()) {
    corpus["event_" + frame.name] = {kAcceptsClients, {event(frame)}};
    corpus["agent_" + frame.name] = {kAcceptsClients | kAgentMode | kDebugGate, {event(frame)}};
  }
}

void add_answers(std::map<std::string, Script>& corpus) {
  for (const test::GoldenAnswer& golden : test::golden_answers())
    corpus["answer_" + golden.frame.name] = {kAcceptsClients,
                                             {ask(golden.question), answer(golden.frame)}};
  corpus["answer_missing"] = {kAcceptsClients, {ask(kSessionId), ask(kAccounting)}};
  corpus["result_for_a_waiter"] = {kAcceptsClients | kNoCallbacks,
                                   {event(test::golden_events()[1]), ask(kResult)}};
}

void add_losses(std::map<std::string, Script>& corpus) {
  for (const std::uint8_t flags : {std::uint8_t{0}, std::uint8_t{kAgentMode}}) {
    const std::string mode = flags == 0 ? "thread_" : "agent_";
    corpus[mode + "closed"] = loss(flags, fault(Kind::close, 1));
    corpus[mode + "silent"] = loss(flags, fault(Kind::clock, 200));
    corpus[mode + "reset"] = loss(flags, fault(Kind::read_error, 3));
    corpus[mode + "no_memory"] = loss(flags, fault(Kind::no_memory, 0));
    corpus[mode + "wrong_marker"] = loss(flags, {Kind::event, 0, Bytes(16, 0x7f)});
    corpus[mode + "unwritable"] = loss(flags, fault(Kind::write_error, 2));
  }
}

void add_registrations(std::map<std::string, Script>& corpus) {
  corpus["nothing"] = {};
  corpus["registration"] = {0, registration()};
  Script bytewise;
  for (const Step& step : registration())
    for (Step& piece : in_bytes(step))
      bytewise.steps.push_back(std::move(piece));
  corpus["registration_by_bytes"] = bytewise;
  corpus["refused"] = {0, {answer({"refusal", 100, {255, 0, 0, 0}})}};
}

}  // namespace

std::map<std::string, Script> link_corpus() {
  std::map<std::string, Script> corpus;
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

}  // namespace fuzz
