// Tests of a thread that waits for a result: the datagram pair without a registration, and waits
// that end as the test says.
#pragma once

#include <cerrno>
#include <deque>
#include <functional>

#include "runtime/send/local_delivery.h"
#include "session/state/locks.h"
#include "support/encoded_body.h"
#include "support/locked_state.h"
#include "support/message_pair.h"
#include "support/result.h"

namespace test {

// The session id that is published as waited for.
inline std::uint32_t published() {
  const aaa::ScopedLock lock(aaa::waiting_session_lock);
  return aaa::load(aaa::g_temp_sid);
}

inline std::string result_of(std::uint32_t session_id) {
  result_info record = {};
  record.sub.session_id = session_id;
  return encoded_body(aaa_encap_result_info, record);
}

// The blocks that a decoded result_of() has.
inline std::uint32_t blocks_of_a_result() {
  const std::string body = result_of(1);
  const LibraryCounters counters;
  result_info* record = nullptr;
  aaa_parse_result_info(&record, body.data(), static_cast<std::int32_t>(body.size()));
  const Result owner(record);
  return counters.blocks_allocated();
}

class WaitingTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    test::set_model_name("test");
    make_message_pair();
  }
  void TearDown() override {
    result_.reset();
    forget_datagrams();
    LibraryTest::TearDown();
  }

  // Waits as a client does. What came is in result_.
  std::int32_t wait_for(std::uint32_t session_id, std::uint32_t seconds = 10) {
    result_info* result = nullptr;
    const std::int32_t outcome = aaa_user_get_result(session_id, 0, seconds, &result);
    result_.reset(result);
    return outcome;
  }

  static void deliver(const std::string& body) {
    ASSERT_EQ(static_cast<ssize_t>(body.size()),
              ::send(lib_msg_client_fd, body.data(), body.size(), MSG_DONTWAIT));
  }

  // How the waits end, in turn; those that are not named run out of time. What a wait returns
  // nothing for looks at the socket, where a datagram must lie.
  using Wait = std::function<std::optional<int>()>;
  Scripts waits_end(std::deque<Wait> waits) {
    waits_ = std::move(waits);
    return {.poll = [this](int, int timeout_ms) -> std::optional<int> {
      timeouts_.push_back(timeout_ms);
      if (waits_.empty()) return 0;
      const Wait wait = std::move(waits_.front());
      waits_.pop_front();
      return wait();
    }};
  }
  Wait with_datagram(int seconds = 0) { return ending(seconds, std::nullopt); }
  Wait with_error(int error, int seconds = 0) {
    return [this, error, seconds] {
      clock_.advance(seconds);
      errno = error;
      return std::optional<int>(-1);
    };
  }
  Wait ending(int seconds, std::optional<int> result) {
    return [this, seconds, result] {
      clock_.advance(seconds);
      return result;
    };
  }

  // The milliseconds that each wait was given.
  const std::vector<int>& timeouts() const { return timeouts_; }

  MovedClock clock_;
  Result result_;

 private:
  std::deque<Wait> waits_;
  std::vector<int> timeouts_;
};

}  // namespace test
