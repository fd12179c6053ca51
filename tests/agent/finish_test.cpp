// aaa_agent_finish.
#include <atomic>
#include <chrono>

#include "agent/agent_client.h"
#include "runtime/send/send_buffer.h"
#include "support/stopping_point.h"
#include "transport/base/cancellation.h"

namespace test::agent_finish {

class AgentFinish : public AgentTest {
 protected:
  // Finishes, and expects which tasks are cancelled for it.
  void expect_finished() {
    EXPECT_EQ(0, aaa_agent_finish());
    expect_nothing_scheduled();
    expect_unconnected();
    EXPECT_EQ(1, state());
    EXPECT_EQ(-1, g_aaa_client_cb.aaa_id);
    EXPECT_EQ(0, aaa_is_alive());
    EXPECT_FALSE(aaa::send_buffer_is_used());
    EXPECT_EQ(nullptr, g_aaa_client_cb.aaa_event_cb);
    EXPECT_TRUE(is_free(aaa_lib_lock));
  }
  void expect_finished(const std::vector<std::string>& journal) {
    loop_.take_journal();
    expect_finished();
    expect_journal(journal);
  }
  // A second life on the same loop, from its beginning to a message.
  void expect_new_life() {
    init_and_connect();
    expect_steady();
    const std::size_t told = times_told(AAA_EVENT_METHOD_LISTS_CHANGED);
    deliver(AAA_MSG_MLIST_CHANGE);
    EXPECT_EQ(told + 1, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  }
};

TEST_F(AgentFinish, DeregistersAndCancelsEverythingButKeepsTheMaster) {
  init_and_connect(batching_client());
  expect_finished({"cancel aaa-read", "cancel aaa-heartbeat"});
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_DEREGISTER_REQ, Role::request)));
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(loop_.master(), aaa::g_agent_master);
  expect_finished({});
  EXPECT_THAT(client_events(), ElementsAre(1, 0)) << "once";
}

TEST_F(AgentFinish, EndsTheUseOfTheLibraryThatInitBegan) {
  EXPECT_EQ(0, aaa_is_in_use());
  init();
  EXPECT_EQ(1, aaa_is_in_use()) << "before the connection";
  expect_finished();
  EXPECT_EQ(0, aaa_is_in_use());
  init_and_connect();
  lose_aaad();
  EXPECT_EQ(1, aaa_is_in_use()) << "while aaad is away";
  expect_finished();
  EXPECT_EQ(0, aaa_is_in_use());
}

TEST_F(AgentFinish, CancelsTheSpareTaskToo) {
  init_and_connect();
  aaa::g_agent_spare_ev =
      zv_thread_add_event_withname(loop_.master(), aaa::aaa_lib_agent_read, nullptr, 0, "spare");
  expect_finished();
}

TEST_F(AgentFinish, CancelsAPendingConnection) {
  init(batching_client());
  expect_finished({"cancel aaa-connect"});
  EXPECT_THAT(client_events(), IsEmpty());
  expect_new_life();
}

TEST_F(AgentFinish, CancelsAPendingReconnectionAndEndsASearchForAaad) {
  for (const bool searching : {false, true}) {
    init_and_connect(batching_client());
    lose_aaad();
    if (searching) run("aaa-reconnect");
    expect_finished({"cancel aaa-reconnect"});
    EXPECT_EQ(searching ? 0u : 1u, client_events().back());
    aaad_returns();
    expect_new_life();
    EXPECT_EQ(0, aaa_agent_finish());
  }
}

TEST_F(AgentFinish, EndsARegistrationWhoseDeregistrationCannotBeSent) {
  init_and_connect(batching_client());
  sim_.close_connections();
  ASSERT_TRUE(sim_.wait_for_connections(0));
  expect_finished();
  expect_new_life();
}

TEST_F(AgentFinish, EndsARegistrationAfterARequestThatCouldNotBeSent) {
  init_and_connect();
  const ScriptedCalls calls({.send = failing(ENOBUFS)});
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

TEST_F(AgentFinish, EndsARegistrationWhoseDeregistrationIsAnsweredWronglyOrNotAtAll) {
  for (const Fault fault : {Fault::wrong_type, Fault::close}) {
    sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, fault);
    init_and_connect(batching_client());
    expect_finished();
    EXPECT_EQ(0u, client_events().back());
    EXPECT_TRUE(sim_.wait_for_connections(0));
    sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::none);
    expect_new_life();
    EXPECT_EQ(0, aaa_agent_finish());
  }
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1, 3, 0, 1, 0, 1, 3, 0));
}

TEST_F(AgentFinish, EndsARegistrationWhoseSocketCouldNotBeClosedAtFirst) {
  for (const std::int32_t* socket : {&g_aaa_client_cb.sync_fd, &g_aaa_client_cb.async_fd}) {
    init_and_connect(batching_client());
    const ScriptedCalls calls({.close = on_socket(*socket, failing_at(1, EIO))});
    expect_finished({"cancel aaa-read", "cancel aaa-heartbeat"});
    EXPECT_TRUE(sim_.wait_for_connections(0));
  }
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1, 0));
}

TEST_F(AgentFinish, AfterAWrongAnswerWaitsForTheFlushThread) {
  std::atomic<bool> hold = false;
  std::atomic<bool> returned = false;
  StoppingPoint wait;
  const ScriptedCalls calls({.select = noting([&] {
                               if (!hold) return;
                               const aaa::CancellationScope uncancelled(PTHREAD_CANCEL_DISABLE);
                               wait.stop();
                             })});
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::wrong_type);
  init_and_connect(batching_client());
  hold = true;
  EXPECT_TRUE(wait.is_reached());
  std::thread host([&] {
    EXPECT_TRUE(eventually([] { return aaa::load(g_aaa_client_cb.aaa_id) == -1; }));
    EXPECT_FALSE(eventually([&] { return returned.load(); }, std::chrono::milliseconds(300)));
    wait.go_on();
  });
  EXPECT_EQ(0, aaa_agent_finish());
  returned = true;
  host.join();
}

TEST_F(AgentFinish, BeforeAnyRegistrationItDoesNothing) {
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  EXPECT_EQ(0, aaa_agent_finish());
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  expect_nothing_scheduled();
}

TEST_F(AgentFinish, AfterDeregistrationAloneItCancelsWhatIsLeft) {
  init_and_connect();
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-read", "aaa-heartbeat"));
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

TEST_F(AgentFinish, ASecondLifeFollowsAtOnce) {
  for (int life = 0; life < 20; ++life) {
    expect_new_life();
    expect_finished();
  }
  EXPECT_EQ(20u, times_told(AAA_EVENT_REGISTERED));
  EXPECT_EQ(20u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(AgentFinish, ASecondLifeWithoutAaadFindsItLater) {
  init_and_connect();
  expect_finished();
  set_listening(false);
  init();
  run_and_expect(-1, "aaa-connect");
  run_and_expect(-1, "aaa-reconnect");
  aaad_returns();
  run_and_expect(0, "aaa-reconnect");
  expect_steady();
}

TEST_F(AgentFinish, FromInsideACallbackNoTaskIsLeft) {
  init_and_connect(client_that_at(AAA_EVENT_METHOD_LISTS_CHANGED, [this] { expect_finished(); }));
  deliver(AAA_MSG_MLIST_CHANGE);
  expect_nothing_scheduled();
  expect_new_life();
}

TEST_F(AgentFinish, ANewLifeBegunInsideACallbackIsNotDisturbed) {
  init_and_connect(client_that_at(AAA_EVENT_METHOD_LISTS_CHANGED, [this] {
    expect_finished();
    init();
  }));
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  run_and_expect(0, "aaa-connect");
  expect_steady();
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_EQ(2u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
}

TEST_F(AgentFinish, ANewLifeBegunInsideTheLossEventIsNotDisturbed) {
  init_and_connect(client_that_at(AAA_EVENT_CONNECTION_LOST, [this] {
    expect_finished();
    init();
  }));
  lose_link();
  run_and_expect(0, "aaa-reconnect");
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  run_and_expect(0, "aaa-connect");
  expect_steady();
  EXPECT_TRUE(sim_.wait_for_connections(2));
}

// In each way that a registration ends. The new one has a flush thread, which is not waited for.
TEST_F(AgentFinish, ANewLifeBegunInsideItsOwnLossEventIsNotDisturbed) {
  for (const Fault fault : {Fault::none, Fault::wrong_type, Fault::close}) {
    sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, fault);
    const std::size_t told = times_told(AAA_EVENT_CONNECTION_LOST);
    init_and_connect(
        client_that_at(AAA_EVENT_CONNECTION_LOST, [this] { init(batching_client()); }));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, aaa_agent_finish());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
    EXPECT_EQ(told + 1, times_told(AAA_EVENT_CONNECTION_LOST));
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
    sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::none);
    run_and_expect(0, "aaa-connect");
    expect_steady();
    expect_finished();
  }
}

TEST_F(AgentFinish, ASecondLifeInThreadModeFollows) {
  init_and_connect();
  expect_finished();
  register_client();
  nudge();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED));
  expect_nothing_scheduled();
}

}  // namespace test::agent_finish
