#include "real/client.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>

#include "support/eventually.h"

namespace real_test {
namespace {

std::mutex mutex;
std::condition_variable arrived;
std::map<std::uint32_t, Answer> answers;  // by session

std::string text_of(const aaa_item& item) {
  if (item.len == 0) return "";
  return {static_cast<const char*>(item.value), item.len};
}

void on_result(result_info* result) {
  const result_info_sub& block = result->sub;
  const std::lock_guard lock(mutex);
  answers.insert_or_assign(
      block.session_id,
      Answer{.code = block.num_a,
             .session_timeout = block.num_b,
             .tunnel_type = block.words4_a[0],
             .tunnel_medium = block.words4_a[1],
             .vlan = {block.chars65_b, ::strnlen(block.chars65_b, sizeof block.chars65_b)},
             .user = {block.chars65_a, ::strnlen(block.chars65_a, sizeof block.chars65_a)},
             .reply = text_of(result->reply_message),
             .state = text_of(result->state),
             .session_class = text_of(result->class_)});
  arrived.notify_all();
}

Answer wait_for(std::uint32_t session_id) {
  std::unique_lock lock(mutex);
  const auto has_come = [&] { return answers.contains(session_id); };
  if (!arrived.wait_for(lock, std::chrono::seconds(20), has_come)) {
    ADD_FAILURE() << "no answer for session " << session_id;
    return {};
  }
  return answers.extract(session_id).mapped();
}

}  // namespace

Client::Client(const std::string& directory) {
  EXPECT_EQ(aaa_set_directory(directory.c_str()), 0);
  reg_info registration{};
  std::strcpy(registration.model_name, "real");
  registration.notify_result_cb = on_result;
  EXPECT_EQ(aaa_svr_reg(&registration), 0);
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; })) << "aaad does not answer";
}

Client::~Client() {
  EXPECT_EQ(aaa_svr_dereg(), 0);
  EXPECT_EQ(aaa_set_directory(nullptr), 0);
}

Answer Client::ask(authen_info& login) {
  EXPECT_EQ(aaa_user_req_authen(&login), 0);
  return wait_for(login.session_id);
}

Answer Client::ask(acct_info& report) {
  EXPECT_EQ(aaa_user_req_acct(&report), 0);
  return wait_for(report.session_id);
}

authen_info new_login(const std::string& user, std::uint32_t session_id) {
  authen_info login{};
  login.session_id = session_id != 0 ? session_id : aaa_get_session_id();
  EXPECT_NE(login.session_id, 0U);
  std::strncpy(login.chars65_a, user.c_str(), sizeof login.chars65_a - 1);
  return login;
}

acct_info new_report(const std::string& user, std::uint32_t session_id, std::uint32_t kind) {
  acct_info report{};
  report.session_id = session_id;
  report.code_a = kind;
  std::strncpy(report.chars65_a, user.c_str(), sizeof report.chars65_a - 1);
  return report;
}

}  // namespace real_test
