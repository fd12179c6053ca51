#include "server/journal.h"

#include <algorithm>
#include <cstdio>

namespace aaa_sim {

void Journal::record(Message message) {
  const std::lock_guard lock(mutex_);
  message.time = elapsed();
  if (output_.line)
    output_.line(describe(message) + (output_.fields ? output_.fields(message) : ""));
  if (output_.capture && !message.in_batch) output_.capture(message, "");
  if (output_.keep) messages_.push_back(std::move(message));
  changed_.notify_all();
}

void Journal::note(const std::string& text) {
  const std::lock_guard lock(mutex_);
  char time[32];
  std::snprintf(time, sizeof time, "%11.6f note ", static_cast<double>(elapsed().count()) / 1e6);
  if (output_.line) output_.line(time + text);
  if (output_.keep) notes_.push_back(text);
  changed_.notify_all();
}

void Journal::capture(const Message& message, const std::string& remark) {
  const std::lock_guard lock(mutex_);
  if (output_.capture) output_.capture(message, remark);
}

void Journal::set_connected(Connected connected) {
  const std::lock_guard lock(mutex_);
  connected_ = std::move(connected);
  changed_.notify_all();
}

void Journal::clear() {
  const std::lock_guard lock(mutex_);
  messages_.clear();
  notes_.clear();
}

Journal::Connected Journal::connected() {
  const std::lock_guard lock(mutex_);
  return connected_;
}

std::vector<Message> Journal::messages() {
  const std::lock_guard lock(mutex_);
  return messages_;
}

std::size_t Journal::count(const Predicate& predicate) {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count_if(messages_, predicate));
}

std::optional<Message> Journal::wait_for_message(const Predicate& predicate, std::size_t skip,
                                                 std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  std::optional<Message> match;
  wait(lock, timeout, [&] {
    std::size_t left = skip;
    const auto found = std::ranges::find_if(
        messages_, [&](const Message& message) { return predicate(message) && left-- == 0; });
    if (found != messages_.end()) match = *found;
    return match.has_value();
  });
  return match;
}

bool Journal::wait_for_note(const std::string& text, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return wait(lock, timeout, [&] {
    return std::ranges::any_of(
        notes_, [&](const std::string& note) { return note.find(text) != std::string::npos; });
  });
}

bool Journal::wait_for_connected(const std::function<bool(const Connected&)>& condition,
                                 std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return wait(lock, timeout, [&] { return condition(connected_); });
}

// Ignores the result of wait_until(), which a test's clock_gettime() may have decided.
bool Journal::wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout,
                   const std::function<bool()>& condition) {
  const TimePoint deadline = kernel_now() + timeout;
  while (!condition()) {
    if (kernel_now() >= deadline) return false;
    changed_.wait_until(lock, deadline);
  }
  return true;
}

std::chrono::microseconds Journal::elapsed() const {
  return std::chrono::duration_cast<std::chrono::microseconds>(kernel_now() - start_);
}

}  // namespace aaa_sim
