// A client that reads all that it is given and asks aaad whatever a notice tells it to ask.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace fuzz {

// A notice of type 123 has it ask the question that the first word names.
reg_info played_client();

// Asks aaad one of kQuestions questions, each of which it answers on the request socket. Reads and
// releases the answer.
enum Question : std::uint32_t {
  kSessionId,
  kMethodList,
  kMethodListState,
  kGroup,
  kPasswordChange,
  kGrant,
  kPasswordSecurity,
  kForgetUser,
  kLogin,
  kAuthorization,
  kResult,
  kUser,
  kAccounting,
  kPasswordUpdate,
  kStatistics,
  kQuestions
};
void ask_aaad(std::uint32_t question, std::uint32_t word);

// Whether the client has waited for a result: the library leaves the results of other sessions
// allocated.
bool has_waited_for_result();
void forget_waiting();

}  // namespace fuzz
