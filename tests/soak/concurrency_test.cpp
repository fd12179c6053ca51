// Eight threads of a client at once, against an aaad that makes it hard for them.
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "soak/client_load.h"
#include "soak/link_events.h"
#include "soak/notices.h"
#include "soak/query_answers.h"
#include "soak/soak_test.h"
#include "soak/storm.h"
#include "soak/thread_list.h"
#include "support/library_counters.h"

namespace soak {
namespace {

using std::chrono::milliseconds;
using testing::IsEmpty;

SessionLedger* ledger_of_callback = nullptr;

void note_result(result_info* result) {
  ledger_of_callback->answered(result->sub.session_id);
}

struct Client {
  const char* name;
  bool batches;
  bool waits;
};

void PrintTo(const Client& client, std::ostream* out) {
  *out << client.name;
}

class Concurrency : public SoakTest, public testing::WithParamInterface<Client> {
 protected:
  void SetUp() override {
    SoakTest::SetUp();
    ledger_of_callback = &ledger_;
    forget_notices();
    answer_queries(sim_);
    count_answers(AAA_MSG_GS_VALID_RESP, verdicts_);
    count_answers(AAA_MSG_RDS_ONLINE_INFO_RESP, online_answers_);
    register_client(info());
  }

  void TearDown() override {
    SoakTest::TearDown();
    aaa_add_user_pwd_update_req_handle(nullptr);
    EXPECT_THAT(ledger_.complaints(), IsEmpty());
    EXPECT_THAT(notice_complaints(), IsEmpty());
    EXPECT_THAT(link_event_complaints(), IsEmpty());
  }

  static reg_info info() {
    reg_info info = test::client("soak");
    info.use_send_buf = GetParam().batches ? 1 : 0;
    info.notify_result_cb = GetParam().waits ? nullptr : note_result;
    info.aaa_event_cb = note_link_event;
    hear_notices(info);
    return info;
  }

  void count_answers(std::uint32_t type, std::atomic<std::size_t>& count) {
    sim_.set_answer(type, [&count](const aaa_sim::Request& request) {
      if (request.role == aaa_sim::Role::event) ++count;
      return aaa_sim::Replies{};
    });
  }

  void run_through(Storm& storm, milliseconds duration) {
    storm.start();
    load_.start();
    std::this_thread::sleep_for(duration);
    load_.stop();
    storm.stop();
    std::printf("%zu requests, %zu queries, %zu losses\n", ledger_.requests(), load_.queries(),
                storm.closes());
  }

  void expect_notice_was_heard(const Storm& storm, std::uint32_t type) {
    EXPECT_TRUE(test::eventually([&] { return notices_heard(type) == storm.sent(type); }))
        << "type " << type << ": sent " << storm.sent(type) << ", heard " << notices_heard(type);
  }

  // A result that comes when its waiter has gone is dropped by the next waiter, and its record
  // stays. Results come from aaad and, for each loss, from the library itself: one, or two when the
  // loss cuts a message.
  void expect_only_unclaimed_results_left(std::uint32_t blocks_before, std::size_t from_aaad) {
    EXPECT_TRUE(test::eventually([] { return receive_threads_of(getpid()) == 0; }));
    const std::uint32_t left = test::live_blocks() - blocks_before;
    const std::size_t results = from_aaad + 2 * link_events(AAA_EVENT_REREGISTERED);
    const std::size_t claimed = ledger_.answers() + load_.lost_results();
    EXPECT_LE(left, GetParam().waits ? (results - claimed) * kBlocksOfResult : 0);
    expect_blocks_left(left);
  }

  static constexpr std::size_t kBlocksOfResult = 2;  // the record, and its values if it has any
  static constexpr std::uint32_t kBlock = 5;
  SessionLedger ledger_{kBlock};
  ClientLoad load_{ledger_, {.waits_for_results = GetParam().waits, .asks_queries = true}};
  std::atomic<std::size_t> verdicts_ = 0;
  std::atomic<std::size_t> online_answers_ = 0;
};

bool has_callback(std::uint32_t type) {
  return type != AAA_MSG_AAA_DEBUG_INFO && type != AAA_MSG_HEARTBEAT &&
         type != AAA_MSG_MLIST_CHANGE && type != AAA_MSG_DEREGISTER_RESP;
}

TEST_P(Concurrency, NothingIsLostOrDoubledOnALinkThatHolds) {
  Storm storm(sim_, Storm::Closes::none, 1);
  run_through(storm, by_length(milliseconds(700), milliseconds(60000)));
  EXPECT_TRUE(test::eventually([&] { return ledger_.answers() == ledger_.requests(); }))
      << ledger_.requests() << " requests, " << ledger_.answers() << " answers";
  EXPECT_EQ(0u, load_.missing_results());
  EXPECT_EQ(0u, load_.lost_results());
  EXPECT_EQ(0u, link_events(AAA_EVENT_CONNECTION_LOST));
  for (const Notice& notice : all_notices())
    if (has_callback(notice.type)) expect_notice_was_heard(storm, notice.type);
  EXPECT_TRUE(test::eventually([&] {
    return verdicts_ == storm.sent(AAA_MSG_GS_VALID_REQ) &&
           online_answers_ == storm.sent(AAA_MSG_GET_ONLINE_INFO);
  })) << "questions without an answer";
  EXPECT_GT(ledger_.requests(), 10u);
}

TEST_P(Concurrency, AClientOutlivesLinksThatAreClosedAtRandom) {
  const test::LibraryCounters counters;
  const std::uint32_t blocks = test::live_blocks();
  Storm storm(sim_, Storm::Closes::at_random, 2);
  run_through(storm, by_length(milliseconds(900), milliseconds(120000)));
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; })) << "not registered again";
  EXPECT_GT(storm.closes(), 0u);
  EXPECT_GT(ledger_.requests(), 10u);
  EXPECT_EQ(link_events(AAA_EVENT_CONNECTION_LOST), link_events(AAA_EVENT_REREGISTERED));
  // The last close may not have been noticed yet: a deregister request then cannot be sent.
  EXPECT_TRUE(test::eventually([] { return aaa_svr_dereg() == 0; })) << "still registered";
  expect_only_unclaimed_results_left(blocks, counters.grown(17));
}

INSTANTIATE_TEST_SUITE_P(Clients, Concurrency,
                         testing::Values(Client{"Callback", false, false},
                                         Client{"CallbackAndBatches", true, false},
                                         Client{"Wait", false, true},
                                         Client{"WaitAndBatches", true, true}),
                         [](const auto& client) { return client.param.name; });

}  // namespace
}  // namespace soak
