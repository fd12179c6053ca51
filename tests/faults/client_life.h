// Everything that a client does in its life, once: it registers, waits for results, asks all that
// it can ask, receives all that aaad can say, loses aaad and finds it again, and leaves; and the
// same once more, shorter, with batches and with results by callback.
#pragma once

#include <atomic>
#include <cstdio>

#include "faults/client_mode.h"
#include "faults/notices.h"
#include "runtime/send/local_delivery.h"
#include "session/state/client_state.h"
#include "soak/link_events.h"
#include "support/intended_leak.h"
#include "traffic/calls.h"
#include "username_lib.h"

namespace faults {

class ClientLife {
 public:
  ClientLife(ClientMode& mode, aaa_sim::AaadSim& sim, FaultInjector& faults)
      : mode_(mode), sim_(sim), faults_(faults) {}

  // What the life needs of aaad. Session ids, and questions about whole users, are answered from
  // what the simulator knows.
  static void prepare(aaa_sim::AaadSim& sim) {
    notices();  // encoded before calls fail
    sim.change([](aaa_sim::Settings& settings) {
      settings.session_ids = 2;
      settings.local_users = {{.name = "alice"}};
    });
    for (const traffic::Exchange& exchange : traffic::questions()) {
      if (exchange.request == AAA_MSG_GET_SESSION_ID ||
          exchange.request == AAA_MSG_LOCAL_COPY_USER ||
          exchange.request == AAA_MSG_LOCAL_UPDATE_USER)
        continue;
      sim.set_answer(exchange.request, [&](const aaa_sim::Request&) -> aaa_sim::Replies {
        return {{aaa_sim::Role::request, exchange.answer.type, 0,
                 test::sim_bytes(exchange.answer.body)}};
      });
    }
  }

  void live() {
    soak::forget_link_events();
    step("registration", &ClientLife::register_waiting_client);
    step("session ids", &ClientLife::take_session_ids);
    step("status", &ClientLife::look_at_status);
    step("one-way requests", &ClientLife::send_one_way_requests);
    step("exchanges", &ClientLife::make_exchanges);
    step("whole user", &ClientLife::fetch_user_with_passwords);
    step("result of another session", &ClientLife::ignore_foreign_result);
    step("notices", &ClientLife::receive_notices);
    step("heartbeat", &ClientLife::beat);
    step("loss while waiting", &ClientLife::wait_through_loss);
    step("deregistration", &ClientLife::leave);
    step("registration with batches", &ClientLife::register_batching_client);
    step("result by callback", &ClientLife::be_called_back);
    step("full batches", &ClientLife::fill_batches);
    step("more than a batch holds", &ClientLife::send_more_than_a_batch_holds);
    step("loss of aaad", &ClientLife::lose_aaad);
    step("result after the loss", &ClientLife::be_called_back);
    step("deregistration with a batch", &ClientLife::leave_with_a_batch);
  }

  // What did not go as it does in a life without faults.
  const std::vector<std::string>& complaints() const { return complaints_; }

  // Afterwards, with nothing failing any more: registers, unless it still is, and has a request
  // answered; when aaad is not received, three minutes pass and it tries again. False when it does
  // not work in time.
  bool works_again() {
    faults_.enter("afterwards");
    const auto deadline = Clock::now() + test::kPatience;
    while (!registers(batching_client()) || !is_called_back()) {
      if (Clock::now() > deadline) return false;
      let_minutes_pass();
    }
    return true;
  }

  // Leaves aaad, whatever state the client is in. A deregistration is refused when an answer to
  // something else is still on its way, and after it the request socket is dead.
  bool leaves() {
    const auto deadline = Clock::now() + test::kPatience;
    for (;;) {
      mode_.finish();
      if (aaa::reg_state() == AAA_REG_NOT_REGISTERED) return true;
      if (Clock::now() > deadline) return false;
      if (is_alive()) let_minutes_pass();
      comes(is_alive);
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr std::uint32_t session = traffic::some_session;
  static constexpr std::uint32_t foreign_session = 8;
  static constexpr int messages_in_a_batch = 16;
  enum Code : std::uint32_t { accepted = 0, rejected = 1, link_lost = 2 };

  static bool is_alive() { return aaa_is_alive() == 1; }

  // ---- Clients ----

  // receives all notices; waits for its results.
  static reg_info waiting_client() {
    reg_info info = test::client("faults");
    info.aaa_event_cb = soak::note_link_event;
    traffic::receive_notices(info);
    return info;
  }
  // The same with batches and with its results by callback.
  static reg_info batching_client() {
    reg_info info = waiting_client();
    info.use_send_buf = 1;
    info.notify_result_cb = [](result_info* result) { called_back_ = result->sub.session_id; };
    return info;
  }

  // ---- Steps ----

  void step(const char* name, void (ClientLife::*act)()) {
    faults_.enter(name);
    step_ = name;
    results_before_step_ = aaa::load(g_aaalib_stat.results_to_waiter);
    (this->*act)();
  }

  void register_waiting_client() { check(registers(waiting_client()), "not registered"); }
  void register_batching_client() { check(registers(batching_client()), "not registered"); }

  void take_session_ids() {
    for (int n = 0; n < 3; ++n)
      check(aaa_get_session_id() != 0, "no session id");
  }

  void look_at_status() {
    check(aaa_get_new_model_status() == 1, "new model off");
    check(aaa_get_new_model_status_syn() == 1, "new model off in the file");
  }

  void send_one_way_requests() {
    for (const traffic::OneWay& call : traffic::one_way_calls())
      check(call.make() == call.sent, call.name);
    let_results_come(3);
    // Of an authentication, for which aaad knows no user, an authorization and an accounting.
    for (const std::uint32_t code : {rejected, accepted, accepted})
      wait_for_result(code);
  }

  // Session ids are a step of their own.
  void make_exchanges() {
    for (const traffic::Exchange& exchange : traffic::questions().subspan(1))
      check(exchange.make() == exchange.answered, std::string(exchange.name));
  }

  void fetch_user_with_passwords() {
    sim_.put_local_user({.name = "carol", .passwords = {"first", "second"}});
    local_user_info record = {};
    std::snprintf(record.user_name, sizeof record.user_name, "carol");
    check(username_lib_copy_user(&record) == 0, "not fetched");
    check(record.password_count == 2, "passwords lost");
    check(username_lib_update_user(&record) == 0, "not written back");
    if (record.passwords.next != nullptr) username_lib_release_user(&record);
  }

  void ignore_foreign_result() {
    const std::string foreign = foreign_result();
    sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, foreign_session,
                      test::view(foreign));
    check(request_authorization(session) == 0, "not sent");
    let_results_come(2);
    wait_for_result(accepted);
  }

  void receive_notices() {
    const std::size_t marks = soak::link_events(AAA_EVENT_METHOD_LISTS_CHANGED);
    const std::size_t losses = soak::link_events(AAA_EVENT_CONNECTION_LOST);
    traffic::forget_notices();
    sim_.send_status();
    for (const traffic::Message& notice : notices())
      sim_.send_message({}, aaa_sim::Role::event, notice.type, 0, test::view(notice.body));
    sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_MLIST_CHANGE, 0);
    const auto all_came = [&] {
      return soak::link_events(AAA_EVENT_METHOD_LISTS_CHANGED) == marks + 2 ||
             soak::link_events(AAA_EVENT_CONNECTION_LOST) != losses;
    };
    check(comes(all_came), "not all received");
    for (const traffic::Message& notice : notices())
      if (traffic::has_callback(notice.type))
        check(traffic::received(notice.type) == 1, notice.name);
    check(traffic::received_wrong() == 0, "received other than sent");
  }

  void beat() { mode_.beat(); }

  void wait_through_loss() {
    const std::size_t losses = soak::link_events(AAA_EVENT_CONNECTION_LOST);
    std::atomic<bool> waits = mode_.reads_meanwhile();
    std::thread closer([&] {
      test::eventually([&] { return aaa::load(aaa::g_temp_sid) != 0 || !waits; });
      sim_.close_connections();
    });
    if (waits) wait_for_result(link_lost);
    waits = false;
    closer.join();
    regain_aaad(losses);
  }

  void be_called_back() { check(is_called_back(), "no result"); }

  void fill_batches() {
    for (int n = 0; n < 2 * messages_in_a_batch; ++n)
      check(aaa_delete_user(session, 1) == 0, "not queued");
    check(is_called_back(), "no result behind full batches");
  }

  void send_more_than_a_batch_holds() {
    const std::string text(AAA_SEND_BUF_BODY_SIZE, 't');
    author_info author = {};
    author.session_id = session;
    author.ext_text = text.c_str();
    check(aaa_user_req_author(&author) == 0, "not sent");
    check(is_called_back(), "no result");
  }

  void lose_aaad() {
    const std::size_t losses = soak::link_events(AAA_EVENT_CONNECTION_LOST);
    sim_.close_connections();
    regain_aaad(losses);
  }

  void leave_with_a_batch() {
    check(request_authorization(session) == 0, "not queued");
    leave();
  }

  void leave() {
    mode_.finish();
    check(aaa::reg_state() == AAA_REG_NOT_REGISTERED, "not deregistered");
  }

  // ---- What the steps are made of ----

  void check(bool is_right, const std::string& what) {
    if (!is_right) complaints_.push_back(std::string(step_) + ": " + what);
  }

  // Lets the library work until the condition holds. False when it does not in time; the time may
  // end in the middle of the wait, with the fault.
  bool comes(const std::function<bool()>& condition) {
    if (!runs_) return condition();
    const auto start = Clock::now();
    bool has_come = false;
    mode_.work_until([&] {
      has_come = condition();
      return has_come || Clock::now() - start > faults_.patience();
    });
    return has_come;
  }

  bool registers(const reg_info& info) {
    runs_ = mode_.start(info);
    return runs_ && comes(is_alive);
  }

  void let_minutes_pass() {
    faults_.clock().advance(200);
    mode_.notice_silence(sim_);
  }

  void regain_aaad(std::size_t losses) {
    const auto regained = [&] {
      return soak::link_events(AAA_EVENT_CONNECTION_LOST) != losses && is_alive();
    };
    check(comes(regained), "not registered again");
  }

  static std::int32_t request_authorization(std::uint32_t session_id) {
    author_info author = {};
    author.session_id = session_id;
    return aaa_user_req_author(&author);
  }

  static std::string foreign_result() {
    const test::UnscriptedCalls scope;
    result_info record = {};
    record.sub.session_id = foreign_session;
    return test::encoded_body(aaa_encap_result_info, record);
  }

  // A loop that waits for a result cannot read it.
  void let_results_come(std::uint32_t count) {
    if (mode_.reads_meanwhile()) return;
    comes(
        [&] { return aaa::load(g_aaalib_stat.results_to_waiter) - results_before_step_ >= count; });
  }

  void wait_for_result(std::uint32_t code) {
    constexpr std::uint32_t longest_wait = 30;
    const test::IntendedLeak foreign_results;
    result_info* result = nullptr;
    const std::int32_t outcome = aaa_user_get_result(session, 0, longest_wait, &result);
    check(outcome == 0 && result->sub.num_a == code, "no such result");
    aaa_free_result_info(result);
  }

  bool is_called_back() {
    const std::uint32_t session_id = aaa_get_session_id();
    return session_id != 0 && request_authorization(session_id) == 0 &&
           comes([=] { return called_back_ == session_id; });
  }

  static inline std::atomic<std::uint32_t> called_back_ = 0;
  ClientMode& mode_;
  aaa_sim::AaadSim& sim_;
  FaultInjector& faults_;
  bool runs_ = false;  // or has run and been left
  const char* step_ = "";
  std::uint32_t results_before_step_ = 0;
  std::vector<std::string> complaints_;
};

}  // namespace faults
