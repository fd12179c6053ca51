// An aaad whose every byte and fault comes from a script. It stands behind the library's system
// calls: no descriptor is real, nothing waits, and the clock goes on only when the library would
// have waited.
#pragma once

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "fuzz/link/link_script.h"
#include "fuzz/link/local_pair.h"
#include "support/failing_allocator.h"

namespace fuzz {

class PlayedAaad {
 public:
  explicit PlayedAaad(Script script);
  ~PlayedAaad();
  PlayedAaad(const PlayedAaad&) = delete;
  PlayedAaad& operator=(const PlayedAaad&) = delete;

  // The one that answers this thread's calls; null outside of a run.
  static PlayedAaad* on_this_thread();

  // The library's calls. A descriptor that is not open ends the program.
  int socket();
  int shutdown(int fd);
  int close(int fd);
  ssize_t send(int fd, const void* data, std::size_t size);
  ssize_t recv(int fd, void* data, std::size_t size);
  int poll(pollfd& watched, int timeout_ms);

  std::uint64_t now_us() const { return now_us_; }
  void pass(std::uint64_t us) { now_us_ += us; }

  // From now on there are no more faults, and a farewell is accepted.
  void become_peaceful();
  // Whether the script holds nothing more for the library to read.
  bool is_over() const { return steps_.empty() && welcome_.empty(); }
  std::size_t steps_left() const { return steps_.size(); }

  // What happens when the library waits for an event, or connects, and the script is over.
  void when_over(void (*action)()) { when_over_ = action; }

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

  std::uint8_t flags_;
  void (*when_over_)() = [] {};
  bool peaceful_ = false;
  std::uint64_t now_us_ = 1000000000;
  std::vector<Socket> sockets_;
  LocalPair pair_;
  std::deque<Step> steps_;                 // what is to come on the event socket
  std::deque<std::deque<Bytes>> answers_;  // in pieces
  std::deque<Bytes> answered_;             // what can be read from the request socket
  Bytes welcome_;                          // a good answer on the event socket
  std::optional<int> read_error_;
  std::optional<int> write_error_;
  std::optional<test::FailMalloc> no_memory_;
};

}  // namespace fuzz
