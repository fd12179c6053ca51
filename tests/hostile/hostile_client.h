// A client of an aaad that the test scripts, and what every test of damaged messages expects of it.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "agent/fake_loop.h"
#include "fuzz/link/scripted_client.h"
#include "hostile/variations.h"
#include "session/state/client_state.h"
#include "soak/hang_watch.h"
#include "soak/soak_length.h"
#include "traffic/calls.h"
#include "transport/base/memory.h"

namespace hostile {

enum class Mode { thread, agent };

inline std::ostream& operator<<(std::ostream& out, Mode mode) {
  return out << (mode == Mode::thread ? "thread" : "agent");
}

class HostileClient : private soak::HangWatch, public testing::Test {
 protected:
  // Allocations of more bytes fail.
  static constexpr std::size_t kLargestBlock = 1000000;

  HostileClient()
      : HangWatch(soak::by_length(std::chrono::seconds(100), std::chrono::seconds(1500))) {
    setenv("TMPDIR", "/tmp", 1);  // nothing is written there
  }

  // Makes an attempt to register, and runs no receive thread.
  void start(Mode mode, const reg_info& info) {
    mode_ = mode;
    if (mode == Mode::thread) {
      EXPECT_EQ(0, aaa_svr_reg(&info));
    } else {
      EXPECT_EQ(0, aaa_agent_init(&info, loop_.master()));
      const int result = loop_.run("aaa-connect");
      EXPECT_EQ(aaa_is_alive() == 1 ? 0 : -1, result);
    }
  }

  // Leaves a good aaad. No socket, no lock and no task is left, and no block but those that are
  // meant to be.
  void finish() {
    aaad_.end_faults();
    EXPECT_EQ(0, mode_ == Mode::thread ? aaa_svr_dereg() : aaa_agent_finish());
    EXPECT_EQ(0u, aaad_.open_sockets());
    EXPECT_EQ(std::vector<std::string>{}, loop_.names());
    fuzz::forget_client(aaad_);
    EXPECT_EQ(blocks_ + blocks_left_over_, test::live_blocks());
  }

  // What was read as `bytes` left no block but for those that are meant to be. `failed`: the
  // allocations that had failed before.
  void expect_no_block_left(const std::string& bytes, std::uint32_t blocks_before,
                            std::uint32_t failed) {
    const std::uint32_t left = test::live_blocks() - blocks_before;
    EXPECT_TRUE(fuzz::are_intended(left, bytes, g_aaa_malloc_fail_times - failed))
        << left << " blocks are left";
    blocks_left_over_ += left;
  }

  // Any exchange is in step with its answer.
  void expect_exchange() {
    aaad_.answer_with(
        {test::message_bytes(AAA_MSG_MLIST_EXISTED_RESP, test::word_bytes(0x12345678))});
    EXPECT_EQ(0x12345678u, aaa_mlist_existed(0, 0, 0, "list"));
  }

  const test::TrackedHeap heap_{kLargestBlock};
  fuzz::ScriptedAaad aaad_{{.flags = fuzz::kAcceptsClients}};
  test::FakeLoop loop_;
  Mode mode_ = Mode::thread;
  const std::uint32_t blocks_ = test::live_blocks();
  std::uint32_t blocks_left_over_ = 0;
};

}  // namespace hostile
