#include "soak/steady_callers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string>

#include "support/eventually.h"
#include "username_lib.h"

namespace soak {
namespace {

using std::chrono::milliseconds;

// The last answered session of those whose ids end alike.
std::array<std::atomic<std::uint32_t>, 4096> answered_sessions;

std::atomic<std::uint32_t>& answered_session_like(std::uint32_t id) {
  return answered_sessions[id % answered_sessions.size()];
}

// Each returns whether aaad has answered.
bool get_session_id() {
  return aaa_get_session_id() != 0;
}

bool authenticate() {
  authen_info authen = {};
  authen.session_id = aaa_get_session_id();
  if (authen.session_id == 0 || aaa_user_req_authen(&authen) != 0) return false;
  return test::eventually([id = authen.session_id] { return answered_session_like(id) == id; },
                          milliseconds(200));
}

bool ask_for_statistic() {
  const std::uint8_t mib[392] = {};
  return aaa_srv_mib(mib, 7) == 42;
}

bool fetch_local_user() {
  local_user_info record = {};
  std::snprintf(record.user_name, sizeof record.user_name, "alice");
  if (username_lib_copy_user(&record) != 0) return false;
  username_lib_release_user(&record);
  return true;
}

constexpr bool (*calls[])() = {get_session_id, authenticate, ask_for_statistic, fetch_local_user};

}  // namespace

const std::vector<std::string>& SteadyCallers::sim_options() {
  static const std::vector<std::string> options = {"--server-statistic", "7=42", "--local-user",
                                                   "alice:secret"};
  return options;
}

void SteadyCallers::note_result(result_info* result) {
  answered_session_like(result->sub.session_id) = result->sub.session_id;
}

void SteadyCallers::start() {
  stopping_ = false;
  for (std::size_t number = 0; number < callers_.size(); ++number)
    callers_[number].thread = std::thread([this, number] { run(number); });
}

void SteadyCallers::stop() {
  stopping_ = true;
  for (Caller& caller : callers_)
    if (caller.thread.joinable()) caller.thread.join();
}

bool SteadyCallers::all_have_an_answer() const {
  return std::ranges::all_of(
      callers_, [this](const Caller& caller) { return caller.answered_round == round_; });
}

std::string SteadyCallers::without_answer() const {
  std::string numbers;
  for (std::size_t number = 0; number < callers_.size(); ++number)
    if (callers_[number].answered_round != round_) numbers += " " + std::to_string(number);
  return numbers + ", answers: " + std::to_string(answers_ - answers_before_);
}

void SteadyCallers::run(std::size_t number) {
  while (!stopping_) {
    const int round = round_;
    if (calls[number % std::size(calls)]()) {
      callers_[number].answered_round = round;
      ++answers_;
    }
    // The library's locks know no turns: without a pause one thread could keep the others out.
    std::this_thread::sleep_for(milliseconds(1));
  }
}

}  // namespace soak
