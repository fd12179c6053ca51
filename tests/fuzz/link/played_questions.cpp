// The questions that the client asks, most of them exchanges.
#include <array>
#include <cstring>

#include "fuzz/info_record_target.h"
#include "fuzz/link/played_client.h"
#include "username_lib.h"

namespace fuzz {
namespace {

bool waited_for_result = false;

void read_and_release(std::int32_t outcome, result_info* result) {
  if (outcome != 0) return;
  touch(result, sizeof *result);
  // Three items point into a body that the library has released.
  result->item_318 = result->item_319 = result->item_320 = {};
  touch_items(*result);
  aaa_free_result_info(result);
}

template <class Record>
void ask_for_result(std::int32_t (*request)(Record*, result_info**), std::uint32_t session_id) {
  Record record = {};
  record.session_id = session_id;
  result_info* result = nullptr;
  const std::int32_t outcome = request(&record, &result);
  read_and_release(outcome, result);
}

void wait_for_result(std::uint32_t word) {
  waited_for_result = true;
  result_info* result = nullptr;
  const std::int32_t outcome = aaa_user_get_result(word, 0, 2, &result);
  read_and_release(outcome, result);
}

void fetch_user(std::uint32_t) {
  local_user_info user = {};
  std::strcpy(user.user_name, "alice");
  if (username_lib_copy_user(&user) != 0) return;
  touch(&user, sizeof user);
  username_lib_update_user(&user);
  username_lib_release_user(&user);
}

void request(std::uint32_t word) {
  acct_info record = {};
  record.session_id = word;
  aaa_user_req_acct(&record);
}

void update_password(std::uint32_t word) {
  std::uint32_t status = 0;
  aaa_update_user_pwd(word, 0, "alice", "old", "new", &status);
}

void ask_for_statistics(std::uint32_t word) {
  const std::uint8_t mib[392] = {};
  aaa_srv_mib(mib, word);
}

// In the order of Question.
constexpr std::array<void (*)(std::uint32_t word), kQuestions> questions = {
    [](std::uint32_t) { aaa_get_session_id(); },
    [](std::uint32_t word) { aaa_mlist_existed(word, 0, 0, "list"); },
    [](std::uint32_t word) { aaa_authen_mlist_sta_query(word, "list"); },
    [](std::uint32_t word) { aaa_register_group(word, "group", 1); },
    [](std::uint32_t) { username_lib_chg_pwd("a", "b", "c"); },
    [](std::uint32_t word) { username_lib_fs_grant_req("a", "b", word); },
    [](std::uint32_t) { username_lib_query_pwd_secu("a", "b"); },
    [](std::uint32_t word) { aaa_clear_req_user(word); },
    [](std::uint32_t word) { ask_for_result(username_lib_authen_req, word); },
    [](std::uint32_t word) { ask_for_result(username_lib_author_req, word); },
    wait_for_result,
    fetch_user,
    request,
    update_password,
    ask_for_statistics};

}  // namespace

void ask_aaad(std::uint32_t question, std::uint32_t word) {
  questions[question % kQuestions](word);
}

bool has_waited_for_result() {
  return waited_for_result;
}
void forget_waiting() {
  waited_for_result = false;
}

}  // namespace fuzz
