// Tests of the library's socket functions on one end of a pair.
#pragma once

#include "support/library_test.h"

namespace test {

class PairTest : public LibraryTest {
 protected:
  void use_as_request_socket() { aaa::store(g_aaa_client_cb.sync_fd, pair_.own()); }
  void use_as_event_socket() { aaa::store(g_aaa_client_cb.async_fd, pair_.own()); }
  std::string fd_text() const { return std::to_string(pair_.own()); }

  ScriptedPeer pair_;
  MovedClock clock_;
  LogCapture log_;
};

}  // namespace test
