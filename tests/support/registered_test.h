// A registered client, its receive thread, and the passes that the thread takes.
#pragma once

#include "support/library_test.h"
#include "support/threads.h"

namespace test {

// The library's pauses are short, and aaad sends nothing unasked, no heartbeats either.
class RegisteredTest : public SimulatedTest {
 protected:
  RegisteredTest();

  // Opens the debug gate of clients that register from now on.
  void open_gate_for_clients();

  // Makes aaad reachable or not. Connections that exist stay.
  void set_listening(bool listening);

  // Makes the receive thread take a pass; the second form waits until it is over.
  void nudge();
  void take_pass();

  // The receive thread, once it has named itself.
  pid_t receive_thread();
  bool receive_thread_is_gone();

  std::size_t heartbeats() { return sim_.count(received(AAA_MSG_HEARTBEAT)); }

  // aaad sends one message, or any bytes, on the event socket.
  void send(std::uint32_t type, const std::string& body = "", std::uint32_t id = 0);
  void send_raw(const std::string& bytes) { sim_.send_raw({}, Role::event, view(bytes)); }

  static int event_socket() { return aaa::load(g_aaa_client_cb.async_fd); }
  static int state() { return aaa::load(g_aaa_client_cb.reg_state); }

  // From now on the next wait for a message fails with `error`, or the next read of one, once so
  // many of its bytes are read.
  static Scripts next_wait_fails(int error);
  static Scripts next_read_fails(int error, std::size_t bytes_before = 0);

  MovedClock clock_;
};

// A millisecond inside a script, in which the library's thread cannot be cancelled.
void pause_in_script();

}  // namespace test
