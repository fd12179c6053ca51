#include "faults/client_life.h"

#include <atomic>
#include <chrono>
#include <thread>

#include "faults/caller.h"
#include "faults/life_requests.h"
#include "runtime/send/waiting_session.h"
#include "session/state/client_state.h"
#include "soak/client_calls.h"
#include "soak/link_events.h"
#include "support/eventually.h"

namespace faults {
namespace {

using aaa_sim::Role;
using std::chrono::steady_clock;

bool is_alive() {
  return aaa_is_alive() == 1;
}

// These two are answered from the database of the simulator.
bool is_about_whole_users(std::uint32_t type) {
  return type == AAA_MSG_LOCAL_COPY_USER || type == AAA_MSG_LOCAL_UPDATE_USER;
}

}  // namespace

aaa_sim::Settings settings_for_life() {
  aaa_sim::Settings settings;
  settings.session_ids = 2;
  settings.local_users = {{.name = "alice"}};
  return settings;
}

void prepare(aaa_sim::AaadSim& sim) {
  for (const auto& [type, frame] : soak::answers_to_exchanges()) {
    if (is_about_whole_users(type) || type == AAA_MSG_GET_SESSION_ID) continue;
    sim.set_answer(type, [answer = frame](const aaa_sim::Request&) -> aaa_sim::Replies {
      return {{Role::request, answer.header.type, 0, answer.body}};
    });
  }
}

void ClientLife::live() {
  soak::forget_link_events();
  step("registration", &ClientLife::register_waiting_client);
  step("session ids", &ClientLife::take_session_ids);
  step("status", &ClientLife::look_at_status);
  step("one-way requests", &ClientLife::send_one_way_requests);
  step("exchanges", &ClientLife::make_exchanges);
  step("whole user", &ClientLife::fetch_user_with_passwords);
  step("result of another session", &ClientLife::pass_over_foreign_result);
  step("notices", &ClientLife::hear_notices);
  step("heartbeat", &ClientLife::beat);
  step("loss while waiting", &ClientLife::wait_through_loss);
  step("farewell", &ClientLife::leave);
  step("registration with batches", &ClientLife::register_batching_client);
  step("result by callback", &ClientLife::be_called_back);
  step("full batches", &ClientLife::fill_batches);
  step("more than a batch holds", &ClientLife::send_more_than_a_batch_holds);
  step("loss of aaad", &ClientLife::lose_aaad);
  step("result after the loss", &ClientLife::be_called_back);
  step("farewell with a batch", &ClientLife::leave_with_a_batch);
}

void ClientLife::step(const char* name, void (ClientLife::*act)()) {
  faults_.enter(name);
  step_ = name;
  results_before_step_ = aaa::load(g_aaalib_stat.results_to_waiter);
  const CallsOf scope(Caller::library);
  (this->*act)();
}

void ClientLife::check(bool is_right, const std::string& what) {
  if (!is_right) complaints_.push_back(std::string(step_) + ": " + what);
}

// The patience may end in the middle of the wait, with the fault.
bool ClientLife::comes(const std::function<bool()>& condition) {
  if (!runs_) return condition();
  const auto start = steady_clock::now();
  bool has_come = false;
  mode_.work_until([&] {
    has_come = condition();
    return has_come || steady_clock::now() - start > faults_.patience();
  });
  return has_come;
}

bool ClientLife::registers(const reg_info& info) {
  runs_ = mode_.start(info);
  return runs_ && comes(is_alive);
}

void ClientLife::register_waiting_client() {
  check(registers(waiting_client()), "not registered");
}
void ClientLife::register_batching_client() {
  check(registers(batching_client()), "not registered");
}

void ClientLife::hear_notices() {
  const std::size_t marks = soak::link_events(AAA_EVENT_METHOD_LISTS_CHANGED);
  const std::size_t losses = soak::link_events(AAA_EVENT_CONNECTION_LOST);
  soak::forget_notices();
  sim_.send_status();
  for (const soak::Notice& notice : notices_)
    sim_.send_message({}, Role::event, notice.type, 0, notice.body);
  sim_.send_message({}, Role::event, AAA_MSG_MLIST_CHANGE, 0);
  const auto all_came = [&] {
    return soak::link_events(AAA_EVENT_METHOD_LISTS_CHANGED) == marks + 2 ||
           soak::link_events(AAA_EVENT_CONNECTION_LOST) != losses;
  };
  check(comes(all_came), "not all heard");
  for (const std::uint32_t type : told_notices)
    check(soak::notices_heard(type) == 1, "notice " + std::to_string(type));
}

void ClientLife::beat() {
  mode_.beat();
}

void ClientLife::regain_aaad(std::size_t losses) {
  const auto regained = [&] {
    return soak::link_events(AAA_EVENT_CONNECTION_LOST) != losses && is_alive();
  };
  check(comes(regained), "not registered again");
}

void ClientLife::wait_through_loss() {
  const std::size_t losses = soak::link_events(AAA_EVENT_CONNECTION_LOST);
  std::atomic<bool> waits = mode_.reads_meanwhile();
  std::thread closer([&] {
    test::eventually([&] { return aaa::load(aaa::g_temp_sid) != 0 || !waits; });
    sim_.close_connections();
  });
  if (waits) wait_for_result(result_of_a_loss);
  waits = false;
  closer.join();
  regain_aaad(losses);
}

void ClientLife::lose_aaad() {
  const std::size_t losses = soak::link_events(AAA_EVENT_CONNECTION_LOST);
  sim_.close_connections();
  regain_aaad(losses);
}

void ClientLife::leave() {
  mode_.finish();
  check(aaa::reg_state() == AAA_REG_NOT_REGISTERED, "not deregistered");
}

void ClientLife::leave_with_a_batch() {
  check(request_authorization(some_session) == 0, "not queued");
  leave();
}

bool ClientLife::works_again() {
  faults_.enter("afterwards");
  const auto deadline = steady_clock::now() + test::kPatience;
  while (!registers(batching_client()) || !is_called_back()) {
    if (steady_clock::now() > deadline) return false;
    faults_.clock().advance(200);
    mode_.notice_silence(sim_);
  }
  return true;
}

// A farewell is refused when an answer to something else is still on its way, and after it the
// request socket is dead.
bool ClientLife::leaves() {
  const auto deadline = steady_clock::now() + test::kPatience;
  for (;;) {
    mode_.finish();
    if (aaa::reg_state() == AAA_REG_NOT_REGISTERED) return true;
    if (steady_clock::now() > deadline) return false;
    if (is_alive()) {
      faults_.clock().advance(200);
      mode_.notice_silence(sim_);
    }
    comes(is_alive);
  }
}

}  // namespace faults
