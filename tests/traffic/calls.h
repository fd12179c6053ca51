// The calls of the library that cross to aaad, and what each returns as aaad behaves.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "traffic/messages.h"

namespace traffic {

// The session of the requests.
inline constexpr std::uint32_t some_session = 9;

// Reads every byte of a result that the library has handed out.
void read_and_release(result_info* result);

// A call that waits for aaad's answer, and what it returns, or writes where the caller says, as one
// number. Results and users are read and released.
struct Exchange {
  std::string_view name;
  std::int64_t (*make)();
  std::uint32_t request;  // its type
  Message answer;
  std::int64_t answered;
  std::int64_t not_answered;
  std::int64_t other_type;  // for the right answer under type 103

  bool registers() const { return name == "aaa_svr_reg"; }
  bool deregisters() const { return name == "aaa_svr_dereg"; }
};

// Registration first, deregistration last.
const std::vector<Exchange>& exchanges();
// Those of a client that is registered and stays so.
std::span<const Exchange> questions();
// The same answer with every item that a record in it can have.
Message full_answer(const Exchange& exchange);

// A call that only sends.
struct OneWay {
  const char* name;
  std::int64_t (*make)();
  std::int64_t sent;
  std::int64_t not_sent;
};

std::span<const OneWay> one_way_calls();

}  // namespace traffic
