// Fixtures for tests of the library in this process.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "aaa_client.h"
#include "aaad_sim.h"
#include "session/state/client_state.h"
#include "support/bytes.h"
#include "support/eventually.h"
#include "support/expected_line.h"
#include "support/leak_check.h"
#include "support/library_counters.h"
#include "support/lock_check.h"
#include "support/log_capture.h"
#include "support/on_threads.h"
#include "support/open_log.h"
#include "support/scripted_calls.h"
#include "support/scripted_peer.h"
#include "support/table_row.h"
#include "support/temporary_directory.h"
#include "support/watchdog_recorder.h"
#include "transport/base/atomic_word.h"

namespace test {

using aaa_sim::Fault;
using aaa_sim::received;
using aaa_sim::Replies;
using aaa_sim::Request;
using aaa_sim::Role;
using aaa_sim::Settings;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

// A registration record with a model name and the event callback that client_events() shows.
reg_info client(const std::string& model_name = "test");
// The same with a send buffer.
reg_info batching_client();

// The events told to clients made by client(), since the test began.
std::vector<std::uint32_t> client_events();
std::size_t times_told(std::uint32_t event);
bool wait_for_event(std::uint32_t event, std::size_t times = 1);

// The library's state as after loading and TMPDIR in a fresh directory. When the test and the
// members of its fixture are gone, nothing may be left: blocks, descriptors, threads.
class LibraryTest : public testing::Test {
 protected:
  LibraryTest();
  ~LibraryTest() override;

  void TearDown() override;

  // For tests after which blocks are left on purpose.
  void expect_blocks_left(std::uint32_t blocks) { blocks_left_ = blocks; }

  const std::string& directory() const { return directory_.path(); }

 private:
  TemporaryDirectory directory_;
  LeakCheck leaks_;
  std::uint32_t blocks_left_ = 0;
};

// Neither the request nor the event socket is on record.
inline void expect_unconnected() {
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
}

// Ends whatever registration there is and waits until the library's threads are gone.
void stop_library();

// With a simulated aaad, which listens in the test's TMPDIR. Tests that want it to come later, or
// to behave otherwise from the start, derive from LibraryTest and make their own.
class SimulatedTest : public LibraryTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Registers and expects to be alive.
  void register_client(const reg_info& info = client());

  aaa_sim::AaadSim sim_{directory()};
};

}  // namespace test
