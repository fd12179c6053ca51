#include "soak/client_load.h"

#include <cstdio>
#include <iterator>
#include <string>

#include "aaa_client.h"
#include "support/intended_leak.h"

namespace soak {
namespace {

constexpr std::uint32_t link_lost_code = 2;
constexpr char group_name[] = "group-1";

std::int32_t request_authen(std::uint32_t id) {
  authen_info authen = {};
  authen.session_id = id;
  std::snprintf(authen.chars65_a, sizeof authen.chars65_a, "user-%u", id);
  authen.user_password = {0, 6, "secret"};
  return aaa_user_req_authen(&authen);
}

std::int32_t request_author(std::uint32_t id) {
  author_info author = {};
  author.session_id = id;
  return aaa_user_req_author(&author);
}

std::int32_t request_acct(std::uint32_t id) {
  acct_info acct = {};
  acct.session_id = id;
  return aaa_user_req_acct(&acct);
}

void tell_about(std::uint32_t n) {
  const std::uint32_t words[6] = {n, n, n, n, n, n};
  switch (n % 6) {
    case 0:
      aaa_delete_user(n, 1);
      break;
    case 1:
      aaa_user_syn(n, words);
      break;
    case 2:
      aaa_set_rds_grp_sta(group_name, n);
      break;
    case 3:
      aaa_front_add_radext_result2(words);
      break;
    case 4:
      aaa_clear_req_user(n + 1);
      break;
    default:
      aaa_notify_ctrl_if_switch(words);
      break;
  }
}

void look_at_status() {
  aaa_get_pro_status();
  aaa_get_new_model_status();
  aaa_get_acct_period();
  aaa_get_acct_start_fail_policy();
  aaa_get_login_service_check_mode();
  aaa_get_acct_status();
  aaa_is_local_user_public_account_allowed();
}

}  // namespace

void ClientLoad::start() {
  stopping_ = false;
  for (unsigned n = 0; n < shape_.threads; ++n)
    threads_.emplace_back([this, seed = shape_.seed * 1000 + n] { run(seed); });
}

void ClientLoad::stop() {
  stopping_ = true;
  for (std::thread& thread : threads_)
    thread.join();
  threads_.clear();
}

void ClientLoad::run(std::uint32_t seed) {
  Random random(seed);
  while (!stopping_) {
    take_step(random);
    if (shape_.pause.count() > 0 || aaa_is_alive() == 0)
      std::this_thread::sleep_for(shape_.pause + std::chrono::microseconds(200));
  }
}

void ClientLoad::take_step(Random& random) {
  const std::uint32_t choice = random.below(10);
  if (choice < 6) return serve_user(random);
  if (choice < 8 && shape_.asks_queries) return ask_query(random);
  if (choice < 9) return tell_about(random.below(600));
  look_at_status();
}

void ClientLoad::serve_user(Random& random) {
  const std::uint32_t id = aaa_get_session_id();
  if (id == 0) return;
  ledger_.handed_out(id);
  if (!shape_.waits_for_results) return submit(id, random);
  const std::lock_guard only_one_waits(waiter_);
  submit(id, random);
}

void ClientLoad::submit(std::uint32_t id, Random& random) {
  constexpr std::int32_t (*requests[])(std::uint32_t) = {request_authen, request_author,
                                                         request_acct};
  ledger_.asked(id);
  if (requests[random.below(std::size(requests))](id) != 0) return ledger_.refused(id);
  if (shape_.waits_for_results) wait_for_result(id);
}

void ClientLoad::wait_for_result(std::uint32_t id) {
  result_info* result = nullptr;
  const test::IntendedLeak foreign_results;
  if (aaa_user_get_result(id, 0, shape_.result_timeout_seconds, &result) != 0) {
    ++missing_results_;
    return;
  }
  if (result->sub.num_a == link_lost_code)
    ++lost_results_;
  else
    ledger_.answered(result->sub.session_id);
  aaa_free_result_info(result);
}

void ClientLoad::ask_query(Random& random) {
  const std::uint32_t word = random.below(1'000'000) + 1;
  ++queries_;
  switch (random.below(5)) {
    case 0:
      return expect_answer("mlist", aaa_mlist_existed(word, 2, 3, "login"), 0, word + 1);
    case 1:
      return expect_answer("mlist state", aaa_authen_mlist_sta_query(word % 11, "login"), 0,
                           word % 11 + 1);
    case 2:
      return expect_answer("group", aaa_register_group(word, group_name, 1), 0, 1);
    case 3: {
      const std::uint8_t mib[392] = {};
      return expect_answer("mib", aaa_srv_mib(mib, word), -1, word + 1);
    }
    default: {
      std::uint32_t status = 0;
      aaa_update_user_pwd(word, 0, "user", "old", "new", &status);
      return expect_answer("password", status, 0, word + 1);
    }
  }
}

void ClientLoad::expect_answer(const char* query, std::int64_t got, std::int64_t none,
                               std::int64_t wanted) {
  if (got == none || got == wanted) return;
  ledger_.complain(std::string(query) + ": got " + std::to_string(got) + ", wanted " +
                   std::to_string(wanted));
}

}  // namespace soak
