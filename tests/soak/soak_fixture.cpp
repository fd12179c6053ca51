#include "soak/soak_fixture.h"

#include <sys/socket.h>

#include <algorithm>
#include <atomic>

namespace soak {
namespace {

std::atomic<std::uint32_t> last_answer = 0;

void note_answer(result_info* result) {
  last_answer = result->sub.session_id;
}

bool is_answered() {
  author_info author = {};
  author.session_id = aaa_get_session_id();
  if (author.session_id == 0 || aaa_user_req_author(&author) != 0) return false;
  return test::eventually([&] { return last_answer == author.session_id; }, milliseconds(1000));
}

}  // namespace

bool tells_of_disorder(const std::string& line) {
  constexpr const char* remarks[] = {"bad marker", "bad body length", "broken batch",
                                     "not registered"};
  return line.find(" note ") != std::string::npos &&
         std::ranges::any_of(remarks,
                             [&](const char* one) { return line.find(one) != std::string::npos; });
}

void WatchedTest::SetUp() {
  LibraryTest::SetUp();
  forget_link_events();
  // Results of an earlier test that nobody has waited for.
  char datagram[4096];
  while (::recv(lib_msg_server_fd, datagram, sizeof datagram, MSG_DONTWAIT) > 0) {
  }
}

void WatchedTest::expect_deregistered() {
  EXPECT_TRUE(test::eventually([] { return aaa_svr_dereg() == 0; })) << "still registered";
}

aaa_sim::Output SoakTest::output() {
  return {.keep = false, .line = [this](const std::string& line) {
            if (!tells_of_disorder(line)) return;
            const std::lock_guard hold(lock_);
            disorder_.push_back(line);
          }};
}

reg_info SoakTest::client() {
  reg_info info = test::client("soak");
  info.notify_result_cb = note_answer;
  info.aaa_event_cb = note_link_event;
  return info;
}

void SoakTest::SetUp() {
  WatchedTest::SetUp();
  sim_.change([](aaa_sim::Settings& settings) { settings.session_ids = 5; });
  sim_.start();
}

void SoakTest::TearDown() {
  expect_deregistered();
  test::stop_library();
  sim_.stop();
  EXPECT_THAT(disorder_, IsEmpty());
  WatchedTest::TearDown();
}

void SoakTest::keep_no_heartbeat() {
  sim_.change([](aaa_sim::Settings& settings) { settings.status.aaa_id_limit = 0; });
}

void SoakTest::register_client(const reg_info& info) {
  ASSERT_EQ(0, aaa_svr_reg(&info));
  ASSERT_EQ(1, aaa_is_alive());
}

void SoakTest::expect_it_works() {
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; })) << "not registered again";
  EXPECT_TRUE(test::eventually(is_answered)) << "no answer";
}

}  // namespace soak
