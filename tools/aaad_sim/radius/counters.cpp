#include "radius/counters.h"

namespace aaa_sim::radius {

std::string describe(const Counters& counters) {
  struct Row {
    const char* name;
    std::uint64_t Counters::*counter;
  };
  constexpr Row rows[] = {
      {"requests", &Counters::requests},
      {"resent", &Counters::resent},
      {"failovers", &Counters::failovers},
      {"replies", &Counters::replies},
      {"unanswered", &Counters::unanswered},
      {"refused", &Counters::refused},
      {"unexpected", &Counters::unexpected},
      {"malformed", &Counters::malformed},
      {"wrong code", &Counters::wrong_code},
      {"wrong authenticator", &Counters::wrong_authenticator},
      {"no message authenticator", &Counters::no_message_authenticator},
      {"wrong message authenticator", &Counters::wrong_message_authenticator},
  };
  std::string text;
  for (const auto& [name, counter] : rows) {
    if (counters.*counter != 0)
      text += std::string("radius ") + name + " " + std::to_string(counters.*counter) + "\n";
  }
  return text;
}

}  // namespace aaa_sim::radius
