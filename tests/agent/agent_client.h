// Tests of a client in agent mode on a loop that the test drives by hand, with a simulated aaad.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "agent/fake_loop.h"
#include "support/registered_test.h"

namespace test {

// aaad answers no heartbeats, sends nothing unasked and switches debug lines on; the library's
// pauses are short.
class AgentTest : public RegisteredTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Registers on the loop; the second form also lets the loop connect, and expects to be alive.
  void init(const reg_info& info = client());
  void init_and_connect(const reg_info& info = client());

  int run(const std::string& task) { return loop_.run(task); }
  // Runs the read task once there is something to read.
  int read();
  // Sends one message from aaad and reads it.
  void deliver(std::uint32_t type, const Bytes& body = {});

  // Closes aaad's ends of the connection and reads that.
  void lose_link();
  // aaad cannot be reached from now on, and the link is lost.
  void lose_aaad();
  void aaad_returns() { set_listening(true); }

  // Exactly one read watch and one heartbeat timer; exactly one reconnection; nothing.
  void expect_steady() const;
  void expect_reconnecting() const;
  void expect_nothing_scheduled() const;
  void expect_unconnected() const;

  FakeLoop loop_;
};

// A registration record whose event callback notes the event, as that of client(), and calls
// `action` with it.
reg_info client_that(std::function<void(std::uint32_t event)> action);

}  // namespace test
