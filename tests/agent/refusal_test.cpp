// Scheduling that the event library refuses: each caller sleeps 2 seconds and tries again.
#include "agent/agent_client.h"
#include "runtime/receive/recovery.h"
#include "support/table_row.h"

namespace test::refusal {

enum class Situation { unregistered, initialised, without_aaad, connected, lost, lost_with_aaad };

// Something that schedules a task which the loop refuses first.
struct Scheduling {
  const char* name;
  Situation before;
  // A task that is run, with its result, or the message that is read; otherwise aaa_agent_init().
  const char* task;
  int result;
  const char* refused;
  // How many tasks are not refused before it.
  std::size_t accepted = 0;
  std::uint32_t message = 0;
  // What makes the heartbeat do something else.
  std::int32_t id = 1;
  std::uint32_t silence = 0;
};

using test::operator<<;  // the name of a row, not its bytes

class Refusal : public AgentTest, public testing::WithParamInterface<Scheduling> {
 protected:
  void bring_about(Situation situation) {
    set_listening(situation != Situation::without_aaad);
    if (situation == Situation::unregistered) return;
    if (situation <= Situation::without_aaad) return init();
    init_and_connect();
    if (situation == Situation::lost) lose_link();
    if (situation == Situation::lost_with_aaad) lose_aaad();
    aaa::store(g_aaa_client_cb.aaa_id, GetParam().id);
    aaa::store(aaalib_hbt_last_recv, library_seconds() - GetParam().silence);
  }
  void act() {
    const Scheduling& given = GetParam();
    if (given.message != 0) return deliver(given.message, zeros(given.message == 123 ? 12 : 0));
    if (given.task == nullptr) return init();
    if (given.task == std::string("aaa-read")) return lose_link();
    run_and_expect(given.result, given.task);
  }
};

TEST_P(Refusal, IsMetWithPatienceUntilTheTaskIsTaken) {
  constexpr std::size_t times = 3;
  bring_about(GetParam().before);
  const OpenLog log;
  const MovedClock pauses;
  loop_.accept(GetParam().accepted);
  loop_.refuse(times, [] { EXPECT_TRUE(is_free(aaa_lib_lock)); });
  act();
  EXPECT_EQ(times, loop_.refused());
  EXPECT_EQ(times, log.count(std::string("Failed to add thread for aaa_lib_") + GetParam().refused +
                             "\r\n"));
  EXPECT_EQ(times, pauses.sleeps());
  EXPECT_EQ(times * 2000000, pauses.slept_us());
  const std::string refused = GetParam().refused;
  if (refused == "connect") run_and_expect(0, "aaa-connect");
  if (refused == "reconnect")
    expect_reconnecting();
  else
    expect_steady();
}

INSTANTIATE_TEST_SUITE_P(
    Agent, Refusal,
    testing::Values(
        Scheduling{"TheFirstConnection", Situation::unregistered, nullptr, 0, "connect"},
        Scheduling{"TheFirstRead", Situation::initialised, "aaa-connect", 0, "read"},
        Scheduling{"TheFirstHeartbeat", Situation::initialised, "aaa-connect", 0, "heartbeat", 1},
        Scheduling{"TheReconnectionAfterAFailedFirstConnection", Situation::without_aaad,
                   "aaa-connect", -1, "reconnect"},
        Scheduling{"TheReadAfterAReconnection", Situation::lost, "aaa-reconnect", 0, "read"},
        Scheduling{"TheHeartbeatAfterAReconnection", Situation::lost, "aaa-reconnect", 0,
                   "heartbeat", 1},
        Scheduling{"TheNextReconnection", Situation::lost_with_aaad, "aaa-reconnect", -1,
                   "reconnect"},
        Scheduling{"TheNextRead", Situation::connected, nullptr, 0, "read", 0,
                   AAA_MSG_MLIST_CHANGE},
        Scheduling{"TheReadAfterAMessageWithABody", Situation::connected, nullptr, 0, "read", 0,
                   AAA_MSG_DEL_MSG_REQ},
        Scheduling{"TheReconnectionAfterALoss", Situation::connected, "aaa-read", 0, "reconnect"},
        Scheduling{"TheNextHeartbeat", Situation::connected, "aaa-heartbeat", 0, "heartbeat"},
        Scheduling{"TheNextHeartbeatWithoutAnId", Situation::connected, "aaa-heartbeat", 0,
                   "heartbeat", 0, 0, 0},
        Scheduling{"TheReconnectionAfterASilence", Situation::connected, "aaa-heartbeat", 0,
                   "reconnect", 0, 0, 1, 300}),
    row_name);

using RefusalEnd = AgentTest;

TEST_F(RefusalEnd, ComesWhenAnotherThreadDeregisters) {
  init_and_connect();
  loop_.refuse(1000, [this] {
    if (loop_.refused() == 3) std::thread(aaa_svr_dereg).join();
  });
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_EQ(3u, loop_.refused());
  loop_.refuse(0);
  EXPECT_EQ(nullptr, aaa::g_agent_read_ev);
}

}  // namespace test::refusal
