// The calls of the library that cross to aaad, and what each returns as aaad behaves.
#pragma once

#include <cstdint>
#include <span>

#include "soak/stub_aaad.h"

namespace soak {

// One that waits for aaad's answer. What it returns, or writes where the caller says, as one
// number.
struct Exchange {
  const char* name;
  std::int64_t (*make)();
  std::int64_t answered;
  std::int64_t not_answered;
  std::int64_t other_type;  // for the right answer under type 103
};

// One that only sends.
struct OneWay {
  const char* name;
  std::int64_t (*make)();
  std::int64_t sent;
  std::int64_t not_sent;
};

std::span<const Exchange> exchanges();
std::span<const OneWay> one_way_calls();

// Answers that exchanges() expect.
StubAaad::Answers answers_to_exchanges();

}  // namespace soak
