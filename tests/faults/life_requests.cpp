#include "faults/life_requests.h"

#include <atomic>
#include <cstdio>
#include <string>
#include <string_view>

#include "faults/caller.h"
#include "faults/client_life.h"
#include "soak/client_calls.h"
#include "soak/link_events.h"
#include "support/intended_leak.h"
#include "support/library_test.h"
#include "transport/base/atomic_word.h"
#include "username_lib.h"

namespace faults {
namespace {

constexpr std::uint32_t foreign_session = 8;
constexpr std::uint32_t accepted = 0;
constexpr std::uint32_t rejected = 1;
constexpr std::uint32_t longest_wait = 30;
constexpr int messages_in_a_batch = 16;

std::atomic<std::uint32_t> called_back = 0;

// Those that are steps of their own.
bool is_a_step(std::string_view call) {
  return call == "aaa_svr_reg" || call == "aaa_svr_dereg" || call == "aaa_get_session_id";
}

aaa_sim::Bytes foreign_result() {
  const CallsOf scope(Caller::test);
  result_info record = {};
  record.sub.session_id = foreign_session;
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  const auto* const first = static_cast<const std::uint8_t*>(body);
  const aaa_sim::Bytes copy(first, first + length);
  aaa_free(__LINE__, __func__, body);
  return copy;
}

}  // namespace

reg_info waiting_client() {
  reg_info info = test::client("faults");
  info.aaa_event_cb = soak::note_link_event;
  soak::hear_notices(info);
  return info;
}

reg_info batching_client() {
  reg_info info = waiting_client();
  info.use_send_buf = 1;
  info.notify_result_cb = [](result_info* result) { called_back = result->sub.session_id; };
  return info;
}

std::int32_t request_authorization(std::uint32_t session_id) {
  author_info author = {};
  author.session_id = session_id;
  return aaa_user_req_author(&author);
}

void ClientLife::take_session_ids() {
  for (int n = 0; n < 3; ++n)
    check(aaa_get_session_id() != 0, "no session id");
}

void ClientLife::look_at_status() {
  check(aaa_get_new_model_status() == 1, "new model off");
  check(aaa_get_new_model_status_syn() == 1, "new model off in the file");
}

void ClientLife::send_one_way_requests() {
  for (const soak::OneWay& call : soak::one_way_calls())
    check(call.make() == call.sent, call.name);
  let_results_come(3);
  // Of an authentication, for which aaad knows no user, an authorization and an accounting.
  for (const std::uint32_t code : {rejected, accepted, accepted})
    wait_for_result(code);
}

void ClientLife::make_exchanges() {
  for (const soak::Exchange& call : soak::exchanges()) {
    if (!is_a_step(call.name)) check(call.make() == call.answered, call.name);
  }
}

void ClientLife::fetch_user_with_passwords() {
  sim_.put_local_user({.name = "carol", .passwords = {"first", "second"}});
  local_user_info record = {};
  std::snprintf(record.user_name, sizeof record.user_name, "carol");
  check(username_lib_copy_user(&record) == 0, "not fetched");
  check(record.password_count == 2, "passwords lost");
  check(username_lib_update_user(&record) == 0, "not written back");
  if (record.passwords.next != nullptr) username_lib_release_user(&record);
}

// A loop that waits for a result cannot read it.
void ClientLife::let_results_come(std::uint32_t count) {
  if (mode_.reads_meanwhile()) return;
  const auto all_came = [&] {
    return aaa::load(g_aaalib_stat.results_to_waiter) - results_before_step_ >= count;
  };
  comes(all_came);
}

void ClientLife::wait_for_result(std::uint32_t code) {
  const test::IntendedLeak foreign_results;
  result_info* result = nullptr;
  const std::int32_t outcome = aaa_user_get_result(some_session, 0, longest_wait, &result);
  check(outcome == 0 && result->sub.num_a == code, "no such result");
  aaa_free_result_info(result);
}

void ClientLife::pass_over_foreign_result() {
  sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, foreign_session,
                    foreign_result());
  check(request_authorization(some_session) == 0, "not sent");
  let_results_come(2);
  wait_for_result(accepted);
}

bool ClientLife::is_called_back() {
  const std::uint32_t session_id = aaa_get_session_id();
  return session_id != 0 && request_authorization(session_id) == 0 &&
         comes([=] { return called_back == session_id; });
}

void ClientLife::be_called_back() {
  check(is_called_back(), "no result");
}

void ClientLife::fill_batches() {
  for (int n = 0; n < 2 * messages_in_a_batch; ++n)
    check(aaa_delete_user(some_session, 1) == 0, "not queued");
  check(is_called_back(), "no result behind full batches");
}

void ClientLife::send_more_than_a_batch_holds() {
  const std::string text(AAA_SEND_BUF_BODY_SIZE, 't');
  author_info author = {};
  author.session_id = some_session;
  author.ext_text = text.c_str();
  check(aaa_user_req_author(&author) == 0, "not sent");
  check(is_called_back(), "no result");
}

}  // namespace faults
