// What the simulator has seen, and who is connected; other threads wait on it.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "clock.h"
#include "message.h"
#include "settings.h"

namespace aaa_sim {

class Journal {
 public:
  struct Presence {
    std::size_t accepted = 0;         // connections so far
    std::size_t connections = 0;      // open now
    std::vector<ClientName> clients;  // registered on both connections
  };

  explicit Journal(Output output) : output_(std::move(output)), start_(kernel_now()) {}

  // Stamps the message with the time.
  void record(Message message);
  void note(const std::string& text);
  void set_presence(Presence presence);
  void clear();

  Presence presence();
  std::vector<Message> messages();
  std::size_t count(const Predicate& predicate);

  // Each is over when its condition holds or `patience` has passed; the result says which.
  std::optional<Message> wait_for_message(const Predicate& predicate, std::size_t skip,
                                          std::chrono::milliseconds patience);
  bool wait_for_note(const std::string& text, std::chrono::milliseconds patience);
  bool wait_for_presence(const std::function<bool(const Presence&)>& condition,
                         std::chrono::milliseconds patience);

 private:
  bool wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds patience,
            const std::function<bool()>& condition);
  std::chrono::microseconds elapsed() const;

  const Output output_;
  const TimePoint start_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::vector<Message> messages_;
  std::vector<std::string> notes_;
  Presence presence_;
};

}  // namespace aaa_sim
