// The library's connection to aaad on real sockets whose other ends the test holds. Where the
// library would wait for bytes, the link gives it the next piece, asks the test for more, or lets
// the clock run: nothing takes time.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>

#include "codec/bodies.h"
#include "support/scripted_calls.h"

namespace test {

// How aaad answers the two register requests of one connection.
struct Welcome {
  Bytes on_request_socket;
  Bytes on_event_socket;
};

class HeldLink {
 public:
  // Allocations of more bytes fail.
  static constexpr std::size_t kLargestBlock = 1000000;

  HeldLink();
  ~HeldLink();
  HeldLink(const HeldLink&) = delete;
  HeldLink& operator=(const HeldLink&) = delete;

  // What aaad writes on the event socket, each piece once the one before has been read.
  void give(Bytes piece) { pieces_.push_back(std::move(piece)); }
  bool has_more() const { return !pieces_.empty(); }
  // Whether the library finds something to read.
  bool is_readable();

  // What the library's wait for a message does when there is nothing left to give: it goes on when
  // the action has given more and returns true.
  void when_idle(std::function<bool()> action) { idle_ = std::move(action); }

  // The answer to whatever the library next writes on the request socket, each piece once the one
  // before has been read.
  void answer_with(std::deque<Bytes> pieces) { answer_ = std::move(pieces); }

  // Of the next connections, in turn; all later ones are welcomed well.
  void welcome_with(Welcome welcome) { welcomes_.push_back(std::move(welcome)); }
  void always_welcome_with(Welcome welcome) { usual_welcome_ = std::move(welcome); }

  // Throws away what the library has written.
  void drain();

  std::size_t open_sockets() const { return peers_.size(); }

  // Connections that were complete.
  std::uint32_t connections() const { return connections_; }
  MovedClock& clock() { return clock_; }

 private:
  Scripts scripts();
  std::optional<int> open(int type);
  std::optional<int> welcome(int fd);
  std::optional<int> forget(int fd);
  std::optional<int> wait(int fd, int timeout_ms);
  std::optional<ssize_t> read(int fd, void* data, std::size_t size);
  void write_to(int fd, const Bytes& bytes);
  bool write_next_piece(int fd, std::deque<Bytes>& pieces);
  bool go_on_giving(int fd);

  std::map<int, int> peers_;  // by the library's ends
  std::deque<Bytes> pieces_;
  std::function<bool()> idle_ = [] { return false; };
  std::deque<Bytes> answer_;
  std::deque<Welcome> welcomes_;
  Welcome usual_welcome_;
  Welcome now_;
  std::uint32_t connections_ = 0;
  MovedClock clock_;
  std::optional<ScriptedCalls> calls_;
};

}  // namespace test
