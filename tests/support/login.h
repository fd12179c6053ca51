// Logging users in through the library, with the result by callback or by waiting.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/library_test.h"
#include "support/result.h"

namespace test {

enum class ResultBy { waiting, callback };

// A registration whose results come as named.
reg_info client_with(ResultBy way, bool batching = false);

// Submits an authentication under a session id.
std::int32_t request_login(std::uint32_t session_id, const std::string& name,
                           const std::string& password, const std::string& state = "");

// The result of a session; its code is kNoResult when none came.
constexpr std::uint32_t kNoResult = 0xffffffff;
Verdict result_of_session(std::uint32_t session_id, ResultBy way = ResultBy::waiting);

// The results told to the callback so far.
std::vector<Verdict> called_back();

// All of it at once, under a session id of its own.
Verdict log_in(const std::string& name, const std::string& password,
               ResultBy way = ResultBy::waiting, const std::string& state = "");

// Alice is accepted; and this when the client has been registered again so many times.
void expect_service(ResultBy way = ResultBy::waiting);
void expect_service_again(ResultBy way = ResultBy::waiting, std::size_t times = 1);

// Alice, whose password is "secret".
aaa_sim::User alice();

// No heartbeats are kept: a clock that short sleeps have moved on is not taken for a silent aaad.
void forgo_heartbeats(aaa_sim::AaadSim& sim);

}  // namespace test
