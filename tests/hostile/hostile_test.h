// Tests of what damaged frames lead to: a client on a link that the test holds, registered once,
// and a great many frames, each followed by a look at what became of it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

#include "agent/fake_loop.h"
#include "hostile/expected_course.h"
#include "hostile/held_link.h"
#include "hostile/variations.h"
#include "soak/hang_watch.h"
#include "support/intended_leak.h"
#include "support/library_test.h"
#include "support/log_capture.h"

namespace test {

// What one frame and its followers must lead to, and what the library was like before.
struct Turn {
  Bytes stream;
  Course expected;
  std::uint32_t connections;
  std::uint32_t blocks;
  std::uint32_t failed_allocations;
  std::uint32_t losses;
  std::uint32_t returns;
  LogCapture log = {};
};

// The watch begins before the first thread is counted and ends after the last.
class HostileTest : private soak::HangWatch,
                    public LibraryTest,
                    public testing::WithParamInterface<Mode> {
 protected:
  HostileTest();

  void SetUp() override;
  void TearDown() override;

  // Delivers every variation and expects each to take the course that it must.
  void play(const std::vector<Bytes>& frames, const std::vector<Variation>& variations);

  HeldLink& link() { return *link_; }

 private:
  void play_on_thread();
  void play_on_loop();
  // Looks at the turn that is over and begins the next. Returns false when there is none.
  bool next_turn();
  bool begin_next_variation();
  void begin_turn(const Bytes& stream, const std::vector<Bytes>& pieces);
  void end_turn();
  void expect_course(const Turn& turn);
  bool good_frame_is_due() const;
  void rebuild_unwatched_link();

  std::unique_ptr<HeldLink> link_;
  std::unique_ptr<FakeLoop> loop_;
  const std::vector<Bytes>* frames_ = nullptr;
  const std::vector<Variation>* variations_ = nullptr;
  std::size_t next_ = 0;
  std::optional<Turn> turn_;
  std::optional<IntendedLeak> leftovers_;
  std::uint32_t blocks_left_over_ = 0;
};

}  // namespace test
