// Eight threads of a client at once, against an aaad that makes it hard for them.
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "soak/faulty_aaad.h"
#include "soak/soak_fixture.h"
#include "support/library_counters.h"

namespace soak {
namespace {

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
    traffic::forget_notices();
    answer_queries(sim_);
    count_answers(AAA_MSG_GS_VALID_RESP, verdicts_);
    count_answers(AAA_MSG_RDS_ONLINE_INFO_RESP, online_answers_);
    reg_info info = client();
    info.use_send_buf = GetParam().batches ? 1 : 0;
    info.notify_result_cb = GetParam().waits ? nullptr : SessionLedger::note_result;
    traffic::receive_notices(info);
    register_client(info);
  }

  void TearDown() override {
    SoakTest::TearDown();
    aaa_add_user_pwd_update_req_handle(nullptr);
    EXPECT_THAT(ledger_.complaints(), IsEmpty());
    EXPECT_EQ(0u, traffic::received_wrong());
    EXPECT_THAT(link_event_complaints(), IsEmpty());
  }

  void count_answers(std::uint32_t type, std::atomic<std::size_t>& count) {
    sim_.set_answer(type, [&count](const aaa_sim::Request& request) {
      if (request.role == aaa_sim::Role::event) ++count;
      return aaa_sim::Replies{};
    });
  }

  // For so long, and on a slow machine until enough has happened.
  void run_through(ClientLoad& load, FaultyAaad& faulty, milliseconds duration,
                   std::size_t closes) {
    faulty.start();
    load.start();
    std::this_thread::sleep_for(duration);
    EXPECT_TRUE(test::eventually([&] {
      return ledger_.requests() > 10 && faulty.closes() >= closes;
    })) << ledger_.requests()
        << " requests, " << faulty.closes() << " closes";
    load.stop();
    faulty.stop();
    std::printf("%zu requests, %zu queries, %zu losses\n", ledger_.requests(), load.queries(),
                faulty.closes());
  }

  void expect_notice_was_received(const FaultyAaad& faulty, std::uint32_t type) {
    EXPECT_TRUE(test::eventually([&] { return traffic::received(type) == faulty.sent(type); }))
        << "type " << type << ": sent " << faulty.sent(type) << ", received "
        << traffic::received(type);
  }

  // A result that comes when its waiter has gone is dropped by the next waiter, and its record
  // stays. Results come from aaad and, for each loss, from the library itself: one, or two when the
  // loss cuts a message. The last of the losses is the deregistration.
  void expect_only_unclaimed_results_left(const ClientLoad& load, std::uint32_t blocks_before,
                                          std::size_t from_aaad) {
    EXPECT_TRUE(test::eventually([] { return test::receive_threads_of(getpid()) == 0; }));
    const std::size_t losses =
        std::max(link_events(AAA_EVENT_REREGISTERED), link_events(AAA_EVENT_CONNECTION_LOST) - 1);
    const std::size_t unclaimed = from_aaad + 2 * losses - ledger_.answers() - load.lost_results();
    const auto left = [=] { return test::live_blocks() - blocks_before; };
    EXPECT_TRUE(test::eventually([&] {
      return left() <= (GetParam().waits ? unclaimed * kBlocksOfResult : 0);
    })) << left()
        << " blocks, " << unclaimed << " unclaimed results";
    expect_blocks_left(left());
  }

  static constexpr std::size_t kBlocksOfResult = 2;  // the record, and its values if it has any
  SessionLedger ledger_{5};
  std::atomic<std::size_t> verdicts_ = 0;
  std::atomic<std::size_t> online_answers_ = 0;
};

TEST_P(Concurrency, NothingIsLostOrDoubledOnALinkThatHolds) {
  FaultyAaad faulty(sim_, FaultyAaad::Closes::none, 1);
  ClientLoad load(
      ledger_,
      {.waits_for_results = GetParam().waits, .result_timeout_seconds = 30, .asks_queries = true});
  run_through(load, faulty, by_length(milliseconds(700), milliseconds(60000)), 0);
  EXPECT_TRUE(test::eventually([&] { return ledger_.answers() == ledger_.requests(); }))
      << ledger_.requests() << " requests, " << ledger_.answers() << " answers";
  EXPECT_EQ(0u, load.missing_results());
  EXPECT_EQ(0u, load.lost_results());
  EXPECT_EQ(0u, link_events(AAA_EVENT_CONNECTION_LOST));
  for (const traffic::Message& notice : traffic::notices())
    if (traffic::has_callback(notice.type)) expect_notice_was_received(faulty, notice.type);
  EXPECT_TRUE(test::eventually([&] {
    return verdicts_ == faulty.sent(AAA_MSG_GS_VALID_REQ) &&
           online_answers_ == faulty.sent(AAA_MSG_GET_ONLINE_INFO);
  })) << "questions without an answer";
}

TEST_P(Concurrency, AClientOutlivesLinksThatAreClosedAtRandom) {
  const test::LibraryCounters counters;
  const std::uint32_t blocks = test::live_blocks();
  FaultyAaad faulty(sim_, FaultyAaad::Closes::at_random, 2);
  ClientLoad load(
      ledger_,
      {.waits_for_results = GetParam().waits, .result_timeout_seconds = 2, .asks_queries = true});
  run_through(load, faulty, by_length(milliseconds(900), milliseconds(120000)), 1);
  EXPECT_TRUE(test::eventually([] {
    return aaa_is_alive() == 1 &&
           link_events(AAA_EVENT_CONNECTION_LOST) == link_events(AAA_EVENT_REREGISTERED);
  })) << "not registered again";
  expect_deregistered();
  expect_only_unclaimed_results_left(load, blocks, counters.grown(17));
}

INSTANTIATE_TEST_SUITE_P(Clients, Concurrency,
                         testing::Values(Client{"Callback", false, false},
                                         Client{"CallbackAndBatches", true, false},
                                         Client{"Wait", false, true},
                                         Client{"WaitAndBatches", true, true}),
                         [](const auto& client) { return client.param.name; });

}  // namespace
}  // namespace soak
