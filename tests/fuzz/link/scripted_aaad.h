// An aaad whose every byte and fault comes from a script or from a test. It stands behind the
// library's system calls: no descriptor is real, nothing waits, and the clock goes on only when the
// library would have waited.
#pragma once

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "fuzz/link/link_script.h"
#include "support/failing_allocator.h"
#include "traffic/messages.h"

namespace fuzz {

// The library's datagram pair inside the process: its numbers are kept for good, what waits in it
// belongs to one run.
class LocalPair {
 public:
  static constexpr int kServer = 900;
  static constexpr int kClient = 901;

  static bool has(int fd) { return fd == kServer || fd == kClient; }

  bool is_readable(int fd) const { return fd == kServer && !waiting_.empty(); }
  ssize_t send(const void* data, std::size_t size);
  ssize_t recv(void* data, std::size_t size);

 private:
  std::deque<std::string> waiting_;
};

class ScriptedAaad {
 public:
  explicit ScriptedAaad(Script script);
  ~ScriptedAaad();
  ScriptedAaad(const ScriptedAaad&) = delete;
  ScriptedAaad& operator=(const ScriptedAaad&) = delete;

  // The one that answers this thread's calls; null outside of a run.
  static ScriptedAaad* on_this_thread();

  // ---- The library's calls. A descriptor that is not open ends the program. ----

  int socket();
  int connect();
  int shutdown(int fd);
  int close(int fd);
  ssize_t send(int fd, const void* data, std::size_t size);
  ssize_t recv(int fd, void* data, std::size_t size);
  int poll(pollfd& watched, int timeout_ms);

  std::uint64_t now_us() const { return now_us_; }
  void pass(std::uint64_t us) { now_us_ += us; }

  // ---- What aaad writes. ----

  // On the event socket, after what the script has left.
  void give(std::string piece) { steps_.push_back({Kind::event, 0, std::move(piece)}); }
  void give_no_more() { steps_.clear(); }
  // The answer, in pieces, to what the library next writes on the request socket.
  void answer_with(std::deque<std::string> pieces) { answers_ = {std::move(pieces)}; }
  // How it answers the two register requests of clients that it accepts.
  void answer_registrations_with(std::string on_request_socket, std::string on_event_socket);
  // From now on there are no more faults, and a deregistration is accepted.
  void end_faults();

  // Whether the script holds nothing more for the library to read.
  bool is_over() const { return steps_.empty() && status_.empty(); }
  std::size_t steps_left() const { return steps_.size(); }

  // ---- What happens then: when the library waits for an event and there is none, which the action
  // may change; when it opens a socket; when it has connected both; when it logs a line. ----

  std::function<void()> when_idle = [] {};
  std::function<void()> when_opening = [] {};
  std::function<void()> when_connected = [] {};
  std::function<void(std::string_view line)> when_logging = [](std::string_view) {};

  std::uint8_t flags() const { return flags_; }
  std::size_t open_sockets() const;

 private:
  struct Socket {
    bool open = true;
    bool closed_by_aaad = false;
    bool shut_down = false;
    bool has_gone() const { return closed_by_aaad || shut_down; }
  };

  Socket& socket_of(int fd);
  void take_faults();
  void take_fault(const Step& step);
  void close_event_socket(bool both);
  void take_write(int fd, std::uint32_t type);
  void release_answer(std::uint32_t type);
  ssize_t read_answer(Socket& socket, void* data, std::size_t size);
  ssize_t read_event(Socket& socket, void* data, std::size_t size);
  ssize_t silence();
  int wait_for_event(Socket& socket, int timeout_ms);

  const std::uint8_t flags_;
  bool faults_ended_ = false;
  std::uint64_t now_us_ = 1000000000;
  std::vector<Socket> sockets_;
  LocalPair pair_;
  std::deque<Step> steps_;                       // what is to come on the event socket
  std::deque<std::deque<std::string>> answers_;  // in pieces
  std::deque<std::string> answered_;             // what can be read from the request socket
  std::string status_;                           // a good answer on the event socket
  std::string good_registration_;
  std::string good_status_;
  std::optional<int> read_error_;
  std::optional<int> write_error_;
  std::optional<test::FailMalloc> no_memory_;
};

}  // namespace fuzz
