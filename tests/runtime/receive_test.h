// The receive thread of a registered client whose callbacks note what they are told.
#pragma once

#include "runtime/noting_client.h"
#include "runtime/send/local_delivery.h"
#include "support/message_pair.h"
#include "support/registered_test.h"

namespace test {

class ReceiveTest : public RegisteredTest {
 protected:
  ReceiveTest() { notes.reset(); }
  ~ReceiveTest() override { notes.reset(); }

  // Registers the client that notes; from then on callbacks end with `action`.
  void register_noting(std::function<void(const std::string&)> action = [](const std::string&) {}) {
    notes.then = std::move(action);
    register_client(noting_client());
    take_pass();
  }
  // The connection is lost; in the second form aaad stays away.
  void lose() {
    sim_.close_connections();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  }
  void lose_aaad() {
    set_listening(false);
    lose();
  }
  bool retries(std::uint32_t times) {
    const std::uint32_t goal = clock_.sleeps() + times;
    return eventually([this, goal] { return clock_.sleeps() >= goal; });
  }

  // The message for del_msg_req_cb that carries a number, and what is noted of it.
  static std::string numbered(std::uint32_t number) {
    return message_bytes(AAA_MSG_DEL_MSG_REQ, word_bytes({0, 0, number}));
  }
  static std::string note_of(std::uint32_t number) {
    return "delete " + word_bytes({0, 0, number});
  }
};

}  // namespace test
