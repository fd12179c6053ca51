// Tests of the library's socket functions on one end of a pair.
#pragma once

#include <gmock/gmock.h>
#include <time.h>

#include <string>

#include "session/state/client_state.h"
#include "support/library_test.h"
#include "support/scripted_calls.h"
#include "support/socket_pair.h"

namespace test {

class PairTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_TRUE(pair_.open());
    counters_before_ = g_aaa_msg_stat;
    g_aaa_msg_stat = {};
  }
  void TearDown() override {
    aaa::store(g_aaa_client_cb.sync_fd, -1);
    aaa::store(g_aaa_client_cb.async_fd, -1);
    pair_.close();
    g_aaa_msg_stat = counters_before_;
    LibraryTest::TearDown();
  }

  void use_as_request_socket() { aaa::store(g_aaa_client_cb.sync_fd, pair_.own()); }

  SocketPair pair_;

 private:
  aaa_msg_stat counters_before_ = {};
};

// Waits until the clock's second has some time left, so that only the test moves it to the next.
inline void enter_second() {
  timespec now = {};
  do {
    ::clock_gettime(CLOCK_MONOTONIC, &now);
  } while (now.tv_nsec > 700000000);
}

}  // namespace test
