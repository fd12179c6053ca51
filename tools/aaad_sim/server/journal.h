// The record of messages and connections. Any thread may read it and wait for changes.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "server/timers.h"
#include "wire/message.h"

namespace aaa_sim {

// Where messages and notes go.
struct Output {
  bool keep = true;  // in memory, for the waits below
  // If set, called with each message and note as a line of text, on the simulator's thread.
  std::function<void(const std::string& line)> line = {};
  // If set, what it returns follows the line of a message.
  std::function<std::string(const Message& message)> fields = {};
  // If set, called with everything that crosses a socket, once: messages that come in a batch are
  // part of that. What is no message has a remark, and no header. On the simulator's thread.
  std::function<void(const Message& message, const std::string& remark)> capture = {};
};

class Journal {
 public:
  struct Connected {
    std::size_t accepted = 0;         // so far
    std::size_t open = 0;             // now
    std::vector<ClientName> clients;  // that have registered both connections
  };

  explicit Journal(Output output) : output_(std::move(output)), start_(kernel_now()) {}

  // Sets the message's time.
  void record(Message message);
  void note(const std::string& text);
  // For the capture alone.
  void capture(const Message& message, const std::string& remark);
  void set_connected(Connected connected);
  // Removes messages and notes.
  void clear();

  Connected connected();
  std::vector<Message> messages();
  std::size_t count(const Predicate& predicate);

  // Empty and false after a timeout.
  std::optional<Message> wait_for_message(const Predicate& predicate, std::size_t skip,
                                          std::chrono::milliseconds timeout);
  bool wait_for_note(const std::string& text, std::chrono::milliseconds timeout);
  bool wait_for_connected(const std::function<bool(const Connected&)>& condition,
                          std::chrono::milliseconds timeout);

 private:
  bool wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout,
            const std::function<bool()>& condition);
  std::chrono::microseconds elapsed() const;

  const Output output_;
  const TimePoint start_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::vector<Message> messages_;
  std::vector<std::string> notes_;
  Connected connected_;
};

}  // namespace aaa_sim
