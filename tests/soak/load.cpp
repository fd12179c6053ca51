#include "soak/load.h"

#include <cstdio>
#include <iterator>

#include "support/intended_leak.h"

namespace soak {
namespace {

constexpr std::uint32_t link_lost_code = 2;
constexpr char group_name[] = "group-1";
// aaad answers no request any more of a session that is cleared.
constexpr std::uint32_t never_granted = 0xf0000000;

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

void send_one_way(std::uint32_t n) {
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
      aaa_clear_req_user(never_granted + n);
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

struct Answer {
  const char* query;
  std::int64_t got;
  std::int64_t none;  // what a query without an answer returns
  std::int64_t wanted;
};

Answer query_mib(std::uint32_t word) {
  const std::uint8_t mib[392] = {};
  return {"mib", aaa_srv_mib(mib, word), -1, word + 1};
}

Answer update_password(std::uint32_t word) {
  std::uint32_t status = 0;
  aaa_update_user_pwd(word, 0, "user", "old", "new", &status);
  return {"password", status, 0, word + 1};
}

Answer query(std::uint32_t kind, std::uint32_t word) {
  switch (kind) {
    case 0:
      return {"mlist", aaa_mlist_existed(word, 2, 3, "login"), 0, word + 1};
    case 1:
      return {"mlist state", aaa_authen_mlist_sta_query(word % 11, "login"), 0, word % 11 + 1};
    case 2:
      return {"group", aaa_register_group(word, group_name, 1), 0, 1};
    case 3:
      return query_mib(word);
    default:
      return update_password(word);
  }
}

}  // namespace

// ---- SessionLedger ----

void SessionLedger::handed_out(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  if (!sessions_.try_emplace(id).second)
    complaints_.push_back("id " + std::to_string(id) + " was given twice");
  ++given_of_block_[(id - 1) / block_size_];
}

void SessionLedger::asked(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  sessions_[id].asked = true;
  ++requests_;
}

void SessionLedger::refused(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  sessions_[id].asked = false;
  --requests_;
}

void SessionLedger::answered(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  const auto session = sessions_.find(id);
  if (session == sessions_.end() || !session->second.asked)
    complaints_.push_back("an answer for " + std::to_string(id) + ", which was not asked for");
  else if (session->second.answered)
    complaints_.push_back("two answers for " + std::to_string(id));
  else
    session->second.answered = true;
  ++answers_;
}

void SessionLedger::complain(const std::string& what) {
  const std::lock_guard hold(lock_);
  complaints_.push_back(what);
}

// A block is used up before the next one is fetched, so only the last one may be in use.
std::vector<std::string> SessionLedger::complaints() const {
  const std::lock_guard hold(lock_);
  std::vector<std::string> all = complaints_;
  for (const auto& [block, given] : given_of_block_) {
    if (given == block_size_ || block == given_of_block_.rbegin()->first) continue;
    all.push_back("only " + std::to_string(given) + " ids of the block from " +
                  std::to_string(block * block_size_ + 1) + " were given");
  }
  return all;
}

// ---- ClientLoad ----

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
  if (choice < 9) return send_one_way(random.below(600));
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
  const Answer answer = query(random.below(5), word);
  if (answer.got == answer.none || answer.got == answer.wanted) return;
  ledger_.complain(std::string(answer.query) + ": got " + std::to_string(answer.got) + ", wanted " +
                   std::to_string(answer.wanted));
}

}  // namespace soak
