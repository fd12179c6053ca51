// Tests of a client in agent mode on a loop that the test drives by hand, with a simulated aaad.
#pragma once

#include "agent/fake_loop.h"
#include "runtime/agent/agent_tasks.h"
#include "support/registered_test.h"

namespace test {

constexpr char kStartLine[] = "aaa client start to try re-reg.\r\n";

// aaad answers no heartbeats, sends nothing unasked and switches debug lines on; the library's
// pauses are short.
class AgentTest : public RegisteredTest {
 protected:
  AgentTest();
  void TearDown() override;

  // Registers on the loop; the second form also lets the loop connect, and expects to be alive.
  void init(const reg_info& info = client());
  void init_and_connect(const reg_info& info = client());

  int run(const std::string& task) { return loop_.run(task); }
  void run_and_expect(int result, const std::string& task) { EXPECT_EQ(result, run(task)); }
  void expect_journal(const std::vector<std::string>& expected) {
    EXPECT_EQ(expected, loop_.take_journal());
  }
  // Adds the tasks that the library's own do not leave on the loop at once.
  void schedule_all_others();

  // Runs the read task once there is something to read.
  int read();
  // Sends one message from aaad and reads it.
  void deliver(std::uint32_t type, const std::string& body = "");

  // Closes aaad's ends of the connection and reads that.
  void lose_link();
  // aaad cannot be reached from now on, and the link is lost.
  void lose_aaad();
  void aaad_returns() { set_listening(true); }

  // Exactly one read watch and one heartbeat timer; exactly one reconnection; nothing.
  void expect_steady() const;
  void expect_reconnecting() const;
  void expect_nothing_scheduled() const;

  FakeLoop loop_;
};

// A registration record whose event callback notes the event, as that of client(), and calls
// `action`; the second form only at the first event of this number.
reg_info client_that(std::function<void(std::uint32_t event)> action);
reg_info client_that_at(std::uint32_t event, std::function<void()> action);

}  // namespace test
