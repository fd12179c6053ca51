// aaa_agent_finish.
#include <atomic>
#include <cerrno>
#include <thread>

#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/send/send_buffer.h"
#include "session/session_test.h"
#include "transport/base/cancellation.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AgentFinish : public AgentTest {
 protected:
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
  // A second life on the same loop, from its beginning to a message.
  void expect_new_life() {
    init_and_connect();
    expect_steady();
    const std::size_t told = times_told(AAA_EVENT_METHOD_LISTS_CHANGED);
    deliver(AAA_MSG_MLIST_CHANGE);
    EXPECT_EQ(told + 1, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  }
  static reg_info batching_client() {
    reg_info info = client();
    info.use_send_buf = 1;
    return info;
  }
};

TEST_F(AgentFinish, DeregistersAndCancelsEverything) {
  init_and_connect(batching_client());
  loop_.take_journal();
  expect_finished();
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-read", "cancel aaa-heartbeat"));
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_DEREGISTER_REQ, Role::request)));
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
  EXPECT_TRUE(sim_.wait_for_connections(0));
}

TEST_F(AgentFinish, CancelsTheSpareTaskToo) {
  init_and_connect();
  aaa::g_agent_spare_ev =
      zv_thread_add_event_withname(loop_.master(), aaa::aaa_lib_agent_read, nullptr, 0, "spare");
  expect_finished();
}

TEST_F(AgentFinish, KeepsTheMaster) {
  init_and_connect();
  expect_finished();
  EXPECT_EQ(loop_.master(), aaa::g_agent_master);
}

TEST_F(AgentFinish, CancelsAPendingConnection) {
  init(batching_client());
  loop_.take_journal();
  expect_finished();
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-connect"));
  EXPECT_THAT(client_events(), IsEmpty());
  expect_new_life();
}

TEST_F(AgentFinish, CancelsAPendingReconnection) {
  init_and_connect(batching_client());
  lose_aaad();
  loop_.take_journal();
  expect_finished();
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-reconnect"));
  aaad_returns();
  expect_new_life();
}

TEST_F(AgentFinish, EndsASearchForAaad) {
  init_and_connect(batching_client());
  lose_aaad();
  run("aaa-reconnect");
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
  aaad_returns();
  expect_new_life();
}

TEST_F(AgentFinish, EndsARegistrationWhoseFarewellCannotBeSent) {
  init_and_connect(batching_client());
  sim_.close_connections();
  ASSERT_TRUE(sim_.wait_for_connections(0));
  expect_finished();
  expect_new_life();
}

TEST_F(AgentFinish, EndsARegistrationWhoseFarewellIsAnsweredWrongly) {
  init_and_connect();
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, aaa_sim::Fault::wrong_type);
  expect_finished();
  expect_new_life();
}

TEST_F(AgentFinish, EndsARegistrationWhoseFarewellIsNotAnswered) {
  init_and_connect();
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, aaa_sim::Fault::close);
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

TEST_F(AgentFinish, BeforeAnyRegistrationItDoesNothing) {
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  EXPECT_EQ(0, aaa_agent_finish());
  EXPECT_EQ(0, g_aaa_client_cb.aaa_id);
  expect_nothing_scheduled();
}

TEST_F(AgentFinish, TwiceIsAsGoodAsOnce) {
  init_and_connect();
  expect_finished();
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
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
  EXPECT_EQ(-1, run("aaa-connect"));
  EXPECT_EQ(-1, run("aaa-reconnect"));
  aaad_returns();
  EXPECT_EQ(0, run("aaa-reconnect"));
  expect_steady();
}

TEST_F(AgentFinish, FromInsideACallbackNoTaskIsLeft) {
  init_and_connect(client_that([this](std::uint32_t event) {
    if (event == AAA_EVENT_METHOD_LISTS_CHANGED) expect_finished();
  }));
  deliver(AAA_MSG_MLIST_CHANGE);
  expect_nothing_scheduled();
  expect_new_life();
}

TEST_F(AgentFinish, ANewLifeBegunInsideACallbackIsNotDisturbed) {
  init_and_connect(client_that([this](std::uint32_t event) {
    if (event != AAA_EVENT_METHOD_LISTS_CHANGED || times_told(event) > 1) return;
    expect_finished();
    init();
  }));
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  EXPECT_EQ(0, run("aaa-connect"));
  expect_steady();
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_EQ(2u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
}

TEST_F(AgentFinish, ANewLifeBegunInsideTheLossEventIsNotDisturbed) {
  init_and_connect(client_that([this](std::uint32_t event) {
    if (event != AAA_EVENT_CONNECTION_LOST || times_told(event) > 1) return;
    expect_finished();
    init();
  }));
  lose_link();
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  EXPECT_EQ(0, run("aaa-connect"));
  expect_steady();
  EXPECT_TRUE(sim_.wait_for_connections(2));
}

TEST_F(AgentFinish, ASecondLifeInThreadModeFollows) {
  init_and_connect();
  expect_finished();
  register_client();
  nudge();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED));
  expect_nothing_scheduled();
}

TEST_F(AgentFinish, AfterAWrongAnswerEndsTheRegistrationAndTellsEvent0) {
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::wrong_type);
  init_and_connect(batching_client());
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
  EXPECT_TRUE(sim_.wait_for_connections(0));
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::none);
  expect_new_life();
}

TEST_F(AgentFinish, AfterAWrongAnswerWaitsForTheFlushThread) {
  std::atomic<bool> hold = false;
  std::atomic<bool> is_held = false;
  std::atomic<bool> returned = false;
  std::atomic<bool> let_go = false;
  const ScriptedCalls calls({.select = [&](timeval&) -> std::optional<int> {
    if (!hold) return std::nullopt;
    const aaa::CancellationScope uncancelled(PTHREAD_CANCEL_DISABLE);
    is_held = true;
    EXPECT_TRUE(eventually([&] { return let_go.load(); }));
    return std::nullopt;
  }});
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::wrong_type);
  init_and_connect(batching_client());
  hold = true;
  EXPECT_TRUE(eventually([&] { return is_held.load(); }));
  std::thread host([&] {
    EXPECT_TRUE(eventually([] { return aaa::load(g_aaa_client_cb.aaa_id) == -1; }));
    EXPECT_FALSE(eventually([&] { return returned.load(); }, std::chrono::milliseconds(300)));
    let_go = true;
  });
  EXPECT_EQ(0, aaa_agent_finish());
  returned = true;
  host.join();
}

TEST_F(AgentFinish, AfterARequestThatCouldNotBeSentEndsTheRegistration) {
  init_and_connect();
  const ScriptedCalls calls({.send = [](int, const void*, std::size_t, int) {
    errno = ENOBUFS;
    return -1;
  }});
  expect_finished();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

}  // namespace
}  // namespace test
