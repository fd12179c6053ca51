// A user who answers as a test has planned.
#pragma once

#include <security/pam_appl.h>

#include <deque>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace pam_test {

// A message shown to the user.
struct Shown {
  int style;
  std::string text;

  bool operator==(const Shown&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Shown& shown) {
    return out << '{' << shown.style << ", \"" << shown.text << "\"}";
  }
};

// Without an answer left, a question makes the conversation fail.
class Conversation {
 public:
  explicit Conversation(std::deque<std::string> answers = {}) : answers_(std::move(answers)) {}

  pam_conv functions() { return {converse, this}; }
  void will_answer(const std::string& answer) { answers_.push_back(answer); }

  void when_shown(std::function<void(const Shown&)> action) { when_shown_ = std::move(action); }

  const std::vector<Shown>& shown() const { return shown_; }
  // The texts of one style.
  std::vector<std::string> texts(int style) const;

 private:
  static int converse(int count, const pam_message** messages, pam_response** responses,
                      void* conversation);
  bool answer(const pam_message& message, pam_response& response);

  std::deque<std::string> answers_;
  std::vector<Shown> shown_;
  std::function<void(const Shown&)> when_shown_;
};

}  // namespace pam_test
