// Messages handed to the dispatch as the receive thread hands them over, without a receive thread.
#pragma once

#include <string>
#include <vector>

#include "bytes.h"
#include "lock_probe.h"
#include "log_lines.h"
#include "received_bytes.h"
#include "session/state/client_state.h"
#include "support/library_counters.h"
#include "support/library_test.h"

namespace test {

// What callbacks noted, in order.
inline std::vector<Bytes>& noted() {
  static std::vector<Bytes> notes;
  return notes;
}
inline void note(const Bytes& what) {
  noted().push_back(what);
}
// As above, for callbacks that must find every lock of the library free.
inline void note_unlocked(const Bytes& what) {
  EXPECT_TRUE(no_lock_is_held());
  note(what);
}
// What one callback was told.
inline std::vector<Bytes> once(const Bytes& what) {
  return {what};
}

class DispatchTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    noted().clear();
    ASSERT_TRUE(aaad_.open());
    aaa::store(g_aaa_client_cb.async_fd, aaad_.own());
    aaa::set_model_name("test");
  }
  void TearDown() override {
    aaa::store(g_aaa_client_cb.async_fd, -1);
    aaad_.close();
    LibraryTest::TearDown();
  }

  static void use(const reg_info& info) { aaa::store_callbacks(info); }

  // One message, with the NUL behind its body; no body is a null body.
  static void deliver(std::uint32_t type, const Bytes& body = {}, std::uint32_t id = 0) {
    const aaa_ipc_header header = {0x01010101, id, type, static_cast<std::uint32_t>(body.size())};
    const Bytes block = body + Bytes(1, 0);
    aaa_lib_async_msg_proc(&header, body.empty() ? nullptr : block.data());
  }

  // What the library answered on the event socket.
  Bytes answers() { return received_bytes(aaad_); }

  SocketPair aaad_;
};

}  // namespace test
