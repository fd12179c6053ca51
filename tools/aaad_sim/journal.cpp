#include "journal.h"

#include <algorithm>
#include <cstdio>

namespace aaa_sim {

void Journal::record(Message message) {
  const std::lock_guard lock(mutex_);
  message.time = elapsed();
  if (output_.line) output_.line(describe(message));
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

void Journal::set_presence(Presence presence) {
  const std::lock_guard lock(mutex_);
  presence_ = std::move(presence);
  changed_.notify_all();
}

void Journal::clear() {
  const std::lock_guard lock(mutex_);
  messages_.clear();
  notes_.clear();
}

Journal::Presence Journal::presence() {
  const std::lock_guard lock(mutex_);
  return presence_;
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
                                                 std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  std::optional<Message> match;
  wait(lock, patience, [&] {
    std::size_t left = skip;
    const auto found = std::ranges::find_if(
        messages_, [&](const Message& message) { return predicate(message) && left-- == 0; });
    if (found != messages_.end()) match = *found;
    return match.has_value();
  });
  return match;
}

bool Journal::wait_for_note(const std::string& text, std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  return wait(lock, patience, [&] {
    return std::ranges::any_of(
        notes_, [&](const std::string& note) { return note.find(text) != std::string::npos; });
  });
}

bool Journal::wait_for_presence(const std::function<bool(const Presence&)>& condition,
                                std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  return wait(lock, patience, [&] { return condition(presence_); });
}

// The condition variable's own verdict would come from the process's clock, so it is not asked.
bool Journal::wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds patience,
                   const std::function<bool()>& condition) {
  const TimePoint deadline = kernel_now() + patience;
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
