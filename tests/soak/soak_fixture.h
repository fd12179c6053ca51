// What the soaks in this process share: the watch against hangs, and a simulator that remembers no
// messages but every remark about a client that is out of step.
#pragma once

#include <gmock/gmock.h>

#include <mutex>

#include "soak/hang_watch.h"
#include "soak/link_events.h"
#include "soak/soak_length.h"
#include "support/library_test.h"
#include "support/scripted_calls.h"
#include "support/threads.h"

namespace soak {

using std::chrono::milliseconds;
using testing::IsEmpty;

// A remark of the simulator that no client of this library may cause.
bool tells_of_disorder(const std::string& line);

// The watch begins before the first thread is counted and ends after the last.
class WatchedTest : private HangWatch, public test::LibraryTest {
 protected:
  WatchedTest() : HangWatch(by_length(std::chrono::seconds(100), std::chrono::seconds(3000))) {}
  void SetUp() override;

  // A deregister request cannot be sent while a loss has not been noticed yet, so it is made again.
  static void expect_deregistered();
};

class SoakTest : public WatchedTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // A client whose results and events are noted.
  static reg_info client();
  static void register_client(const reg_info& info = client());
  // Registered, and a request of client() is answered.
  static void expect_it_works();

  // Nothing crosses an idle link any more.
  void keep_no_heartbeat();

  aaa_sim::AaadSim sim_{directory(), {}, output()};

 private:
  aaa_sim::Output output();

  std::mutex lock_;
  std::vector<std::string> disorder_;  // guarded by lock_
};

}  // namespace soak
