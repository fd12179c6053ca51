// What the soaks in this process share: the watch against hangs, and a simulator that remembers no
// messages but every remark about a client that is out of step.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "soak/hang_watch.h"
#include "soak/soak_length.h"
#include "support/library_test.h"

namespace soak {

// A remark of the simulator that no client of this library may cause.
bool tells_of_disorder(const std::string& line);

// The watch begins before the first thread is counted and ends after the last.
class WatchedTest : private HangWatch, public test::LibraryTest {
 protected:
  WatchedTest() : HangWatch(by_length(std::chrono::seconds(100), std::chrono::seconds(3000))) {}
  void SetUp() override;
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

  aaa_sim::AaadSim sim_{directory(), settings(), output()};

 private:
  static aaa_sim::Settings settings();
  aaa_sim::Output output();

  std::mutex lock_;
  std::vector<std::string> disorder_;  // guarded by lock_
};

}  // namespace soak
