// Tests of a client that is registered with an aaad whose part the test plays. The client has its
// request socket and no threads, so that nothing is written but what the test asks for.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/library_test.h"

namespace test {

class LinkedTest : public LibraryTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // What aaad sends when it gets the next write, the one after it, and so on.
  void aaad_answers(const std::string& message) { answers_.push_back(message); }
  void next_write_fails(int error) { write_error_ = error; }
  // Runs inside each write.
  void during_writes(std::function<void()> action) { during_write_ = std::move(action); }
  // Replaces further calls of the library. The one for send() stays the fixture's.
  void script(Scripts scripts);

  // What each call of send() on the request socket was given.
  const std::vector<std::string>& writes() const { return writes_; }
  const std::string& only_write() const;
  int write_flags() const { return write_flags_; }

  ScriptedPeer link_;

 private:
  std::optional<ssize_t> write(int fd, const void* data, std::size_t size, int flags);

  std::optional<ScriptedCalls> scripts_;
  std::deque<std::string> answers_;
  int write_error_ = 0;
  std::function<void()> during_write_ = [] {};
  std::vector<std::string> writes_;
  int write_flags_ = 0;
};

// While it lives, requests go into the send buffer, which no thread writes.
class QueueInUse {
 public:
  QueueInUse();
  ~QueueInUse();
  QueueInUse(const QueueInUse&) = delete;
  QueueInUse& operator=(const QueueInUse&) = delete;

  // The messages held, one behind the other.
  static std::string held();
};

}  // namespace test
