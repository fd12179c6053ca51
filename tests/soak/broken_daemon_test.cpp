// A daemon that breaks the rules costs requests, but neither the client nor the link for good.
#include <cerrno>
#include <future>
#include <semaphore>

#include "soak/faulty_aaad.h"
#include "soak/soak_fixture.h"
#include "soak/timeouts.h"
#include "transport/base/atomic_word.h"

namespace soak {
namespace {

using aaa_sim::Bytes;
using aaa_sim::Replies;
using aaa_sim::Request;
using aaa_sim::Role;
using aaa_sim::Settings;

using test::message_bytes;
using test::word_bytes;

const std::string kHeartbeat = message_bytes(AAA_MSG_HEARTBEAT);

std::string repeated(const std::string& message, std::size_t times) {
  std::string all;
  for (std::size_t n = 0; n < times; ++n)
    all += message;
  return all;
}

class BrokenDaemon : public SoakTest {
 protected:
  void SetUp() override {
    SoakTest::SetUp();
    keep_no_heartbeat();
    clock_.shorten_sleeps();
    answer_queries(sim_);
  }

  void set_reading(bool on) {
    sim_.change([=](Settings& settings) { settings.reading = on; });
  }

  void send_bytes(Role role, const std::string& bytes) {
    sim_.send_raw({}, role, test::view(bytes));
  }

  // Runs a call while the library's clock goes by, until it returns.
  template <class Call>
  auto while_time_passes(Call call) {
    auto result = std::async(std::launch::async, call);
    while (result.wait_for(milliseconds(20)) != std::future_status::ready)
      clock_.advance(11);
    return result.get();
  }

  // Answers that nobody has waited for come late. When a query has got its own answer they have all
  // come.
  void expect_queries_work() {
    EXPECT_TRUE(test::eventually([this] {
      ++asked_;
      return aaa_mlist_existed(asked_, 0, 0, "login") == asked_ + 1;
    })) << "no answer";
  }

  test::MovedClock clock_;
  ReceiveThreadWatch watch_;
  std::uint32_t asked_ = 100;
};

// Sends requests until two of them, or two batches, have been given up.
void fill_socket() {
  const std::uint32_t before = g_aaa_msg_stat.resend_discard_num;
  authen_info authen = {};
  authen.session_id = 1;
  while (aaa::load(g_aaa_msg_stat.resend_discard_num) - before < 2) {
    const std::int32_t result = aaa_user_req_authen(&authen);
    EXPECT_TRUE(result == 0 || result == -EAGAIN) << result;
  }
}

TEST_F(BrokenDaemon, ThatStopsReadingCostsWholeRequests) {
  for (int n = 0; n < by_length(2, 100); ++n) {
    reg_info info = client();
    info.use_send_buf = n % 2 == 0 ? 0 : 1;
    register_client(info);
    set_reading(false);
    std::thread first(fill_socket);
    std::thread second(fill_socket);
    first.join();
    second.join();
    set_reading(true);
    expect_it_works();
    expect_queries_work();
    EXPECT_EQ(0, aaa_svr_dereg());
  }
}

TEST_F(BrokenDaemon, ThatStopsInAHeaderHoldsUpNoRequest) {
  register_client();
  for (int n = 0; n < by_length(20, 2000); ++n) {
    ASSERT_TRUE(watch_.is_idle());
    send_bytes(Role::event, kHeartbeat.substr(0, 7));
    ASSERT_TRUE(watch_.waits_for_the_rest());
    expect_queries_work();
    send_bytes(Role::event, kHeartbeat.substr(7));
    expect_it_works();
  }
  EXPECT_EQ(0u, link_events(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(BrokenDaemon, ThatIsOutOfStepIsLeftAndFoundAgain) {
  register_client();
  const std::size_t rounds = by_length(20u, 2000u);
  for (std::size_t n = 1; n <= rounds; ++n) {
    ASSERT_TRUE(watch_.is_idle());
    send_bytes(Role::event, kHeartbeat.substr(0, 7));
    ASSERT_TRUE(watch_.waits_for_the_rest());
    clock_.advance(11);
    ASSERT_TRUE(watch_.is_idle()) << "the rest of the header is awaited for ever";
    send_bytes(Role::event, kHeartbeat.substr(7));
    send_bytes(Role::event, kHeartbeat);
    ASSERT_TRUE(test::eventually([&] { return link_events(AAA_EVENT_REREGISTERED) == n; }));
    expect_it_works();
  }
  EXPECT_EQ(rounds, link_events(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(BrokenDaemon, ThatAnswersOnTheWrongSocketIsNotBelieved) {
  register_client();
  expect_it_works();
  for (int n = 0; n < by_length(3, 200); ++n) {
    sim_.set_answer(AAA_MSG_QUERY_MLIST_EXIST, [](const Request&) -> Replies {
      return {{Role::event, AAA_MSG_MLIST_EXISTED_RESP, 0, Bytes{42, 0, 0, 0}}};
    });
    sim_.set_answer(AAA_MSG_AUTHEN_REQ, [](const Request& request) -> Replies {
      return {{Role::request, AAA_MSG_NOTIFY_RESULT, request.header.id, Bytes(1280, 1)}};
    });
    EXPECT_EQ(0u, while_time_passes([] { return aaa_mlist_existed(41, 0, 0, "login"); }));
    authen_info authen = {};
    authen.session_id = 1;
    EXPECT_EQ(0, aaa_user_req_authen(&authen));
    answer_queries(sim_);
    expect_queries_work();
    expect_it_works();
  }
}

TEST_F(BrokenDaemon, ThatRegistersOnTheWrongSocketIsTriedAgain) {
  register_client();
  for (std::size_t n = 1; n <= by_length(3u, 200u); ++n) {
    sim_.set_answer(AAA_MSG_REGISTER_REQ, [](const Request&) -> Replies {
      return {{Role::request, AAA_MSG_REGISTER_RESP, 0, Bytes{1, 0, 0, 0}}};
    });
    const int reads_before = watch_.registering_reads();
    sim_.close_connections();
    ASSERT_TRUE(watch_.registers_after(reads_before));
    while_time_passes([this] { return sim_.accepted_connections() == 0; });
    sim_.change([](Settings& settings) { settings.answers.erase(AAA_MSG_REGISTER_REQ); });
    clock_.advance(11);
    ASSERT_TRUE(test::eventually([&] { return link_events(AAA_EVENT_REREGISTERED) == n; }));
    expect_it_works();
  }
}

std::binary_semaphore callback_has_begun{0};
std::binary_semaphore callback_may_end{0};

// The receive thread is the one that notices a loss. An exchange, which nobody can interrupt, must
// not depend on it.
TEST_F(BrokenDaemon, ThatGoesWhileACallbackRunsHoldsUpNoExchange) {
  reg_info info = client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event != AAA_EVENT_METHOD_LISTS_CHANGED) return 0;
    callback_has_begun.release();
    callback_may_end.acquire();
    return 0;
  };
  register_client(info);
  for (int n = 0; n < by_length(20, 2000); ++n) {
    sim_.send_message({}, Role::event, AAA_MSG_MLIST_CHANGE, 0);
    ASSERT_TRUE(callback_has_begun.try_acquire_for(test::kPatience));
    sim_.close_connections();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0u, aaa_mlist_existed(41, 0, 0, "login"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    callback_may_end.release();
    expect_it_works();
  }
}

TEST_F(BrokenDaemon, ThatFloodsTheEventSocketIsHeardToTheEnd) {
  const std::size_t floods = by_length(10u, 1000u);
  constexpr std::size_t kMessages = 2000;
  const std::string flood =
      repeated(message_bytes(AAA_MSG_MLIST_CHANGE, std::string(50, '\1')), kMessages);
  register_client();
  for (std::size_t n = 0; n < floods; ++n) {
    send_bytes(Role::event, flood);
    expect_queries_work();
    expect_it_works();
  }
  EXPECT_EQ(floods * kMessages, link_events(AAA_EVENT_METHOD_LISTS_CHANGED));
  send_bytes(Role::event, flood);
  EXPECT_EQ(0, aaa_svr_dereg());
}

TEST_F(BrokenDaemon, ThatFloodsTheRequestSocketIsAnsweredFromTheEndOfTheFlood) {
  const std::string flood =
      repeated(message_bytes(AAA_MSG_MLIST_EXISTED_RESP, word_bytes(7)), 1000);
  register_client();
  for (int n = 0; n < by_length(10, 1000); ++n) {
    send_bytes(Role::request, flood);
    EXPECT_EQ(42u, aaa_mlist_existed(41, 0, 0, "login"));
    expect_it_works();
  }
}

TEST_F(BrokenDaemon, ThatFloodsTheRequestSocketWithoutEndHoldsNobodyForEver) {
  const std::string flood = repeated(message_bytes(AAA_MSG_MLIST_EXISTED_RESP, word_bytes(7)), 200);
  register_client();
  for (int n = 0; n < by_length(2, 100); ++n) {
    std::atomic<bool> flooding = true;
    std::thread flooder([&] {
      while (flooding) {
        send_bytes(Role::request, flood);
        std::this_thread::sleep_for(milliseconds(1));
      }
    });
    while_time_passes([] { return aaa_mlist_existed(41, 0, 0, "login"); });
    flooding = false;
    flooder.join();
    expect_queries_work();
    expect_it_works();
  }
}

}  // namespace
}  // namespace soak
