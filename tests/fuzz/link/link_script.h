// The input of the link's fuzz target: one byte of flags, then steps. A step is its kind (one
// byte), a number (16 bits, low byte first) and, for the kinds that carry bytes, so many bytes as
// the number says or as are left.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fuzz {

enum Flag : std::uint8_t {
  kAgentMode = 1,
  kAcceptsClients = 2,  // aaad answers each registration well, whatever the steps say
  kNoCallbacks = 4,
  kDebugGate = 8,  // open from the start
};

// Steps other than answers are taken in order, each when the library next reads or waits for an
// event. Each write on the request socket is given the next answer.
enum class Kind : std::uint8_t {
  event,        // bytes on the event socket, read in one piece at most
  answer,       // bytes on the request socket
  more_answer,  // another piece of the same answer
  close,        // aaad closes the event socket, or both when the number is odd
  clock,        // so many seconds pass
  read_error,   // the read or the wait fails, with an errno value that the number picks
  write_error,  // the same for the next write
  no_memory,    // the n-th allocation from now on fails
};
inline constexpr std::uint8_t kKinds = 8;

constexpr bool carries_bytes(Kind kind) {
  return kind <= Kind::more_answer;
}
constexpr bool is_answer(Kind kind) {
  return kind == Kind::answer || kind == Kind::more_answer;
}

struct Step {
  Kind kind = Kind::event;
  std::uint16_t number = 0;
  std::string bytes = {};
};

struct Script {
  std::uint8_t flags = 0;
  std::vector<Step> steps = {};
};

inline Script read_script(std::span<const std::uint8_t> input) {
  Script script;
  if (input.empty()) return script;
  script.flags = input[0];
  for (auto rest = input.subspan(1); rest.size() >= 3;) {
    Step step;
    step.kind = static_cast<Kind>(rest[0] % kKinds);
    step.number = static_cast<std::uint16_t>(rest[1] | rest[2] << 8);
    rest = rest.subspan(3);
    if (carries_bytes(step.kind)) {
      const std::size_t size = std::min<std::size_t>(step.number, rest.size());
      step.bytes.assign(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(size));
      rest = rest.subspan(size);
    }
    script.steps.push_back(std::move(step));
  }
  return script;
}

inline std::string write_script(const Script& script) {
  std::string input = {static_cast<char>(script.flags)};
  for (const Step& step : script.steps) {
    const std::size_t number = carries_bytes(step.kind) ? step.bytes.size() : step.number;
    input.push_back(static_cast<char>(step.kind));
    input.push_back(static_cast<char>(number));
    input.push_back(static_cast<char>(number >> 8));
    input += step.bytes;
  }
  return input;
}

}  // namespace fuzz
