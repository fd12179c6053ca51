#include "support/login.h"

#include <algorithm>
#include <mutex>

namespace test {
namespace {

std::mutex results_lock;
std::vector<Verdict> results;

void note_result(result_info* result) {
  const std::lock_guard<std::mutex> hold(results_lock);
  results.push_back(verdict_of(*result));
}

Verdict called_back_for(std::uint32_t session_id) {
  const std::vector<Verdict> all = called_back();
  const auto found = std::ranges::find(all, session_id, &Verdict::session_id);
  return found == all.end() ? Verdict{.code = kNoResult} : *found;
}

}  // namespace

reg_info client_with(ResultBy way, bool batching) {
  reg_info info = client();
  info.use_send_buf = batching ? 1 : 0;
  info.notify_result_cb = way == ResultBy::callback ? note_result : nullptr;
  const std::lock_guard<std::mutex> hold(results_lock);
  results.clear();
  return info;
}

std::int32_t request_login(std::uint32_t session_id, const std::string& name,
                           const std::string& password, const std::string& state) {
  authen_info authen = {};
  authen.session_id = session_id;
  name.copy(authen.chars65_a, sizeof authen.chars65_a - 1);
  authen.user_password = record_item(password);
  authen.state = record_item(state);
  return aaa_user_req_authen(&authen);
}

std::vector<Verdict> called_back() {
  const std::lock_guard<std::mutex> hold(results_lock);
  return results;
}

Verdict result_of_session(std::uint32_t session_id, ResultBy way) {
  if (way == ResultBy::callback) {
    eventually([=] { return called_back_for(session_id).code != kNoResult; });
    return called_back_for(session_id);
  }
  result_info* result = nullptr;
  aaa_user_get_result(session_id, 0, 10, &result);
  const Result owner(result);
  return result == nullptr ? Verdict{.code = kNoResult} : verdict_of(*result);
}

Verdict log_in(const std::string& name, const std::string& password, ResultBy way,
               const std::string& state) {
  const std::uint32_t session_id = aaa_get_session_id();
  EXPECT_NE(0u, session_id);
  EXPECT_EQ(0, request_login(session_id, name, password, state));
  return result_of_session(session_id, way);
}

void expect_service(ResultBy way) {
  EXPECT_EQ(1, aaa_is_alive());
  EXPECT_EQ(kAccepted, log_in("alice", "secret", way).code);
}

void expect_service_again(ResultBy way, std::size_t times) {
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED, times)) << "not registered again";
  expect_service(way);
}

aaa_sim::User alice() {
  return {.name = "alice", .password = "secret"};
}

void forgo_heartbeats(aaa_sim::AaadSim& sim) {
  sim.change([](aaa_sim::Settings& settings) { settings.status.aaa_id_limit = 0; });
}

}  // namespace test
