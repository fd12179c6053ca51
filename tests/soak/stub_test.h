// A client of a StubAaad. A test begins and ends its life as often as it likes.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "soak/client_calls.h"
#include "soak/soak_test.h"
#include "soak/stub_aaad.h"
#include "support/scripted_calls.h"

namespace soak {

class StubTest : public WatchedTest {
 protected:
  void TearDown() override;

  // A good aaad is there. The client's pauses and timeouts are short.
  void begin();
  void end();

  // Registers while aaad is good. The request socket's buffer is then the smallest there is, and
  // full if aaad never reads.
  void register_client(Manner manner);
  // Waits that aaad lets end in vain move the clock by what they stand for.
  void behave(Manner manner);

  // No lock is held, and unless the client has deregistered a good aaad is asked and answers.
  void expect_library_in_order();

  std::uint32_t thread_start() const { return thread_start_; }

 private:
  std::atomic<std::uint32_t> thread_start_ = 0;  // library second of the last one
  std::atomic<bool> time_passes_ = false;
  std::optional<test::MovedClock> clock_;
  std::optional<test::ScriptedCalls> scripts_;
  std::optional<StubAaad> aaad_;
};

}  // namespace soak
