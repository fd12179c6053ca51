#include "soak/link_events.h"

#include <array>
#include <mutex>

#include "aaa_client.h"

namespace soak {
namespace {

struct Events {
  std::array<std::size_t, 8> counts{};
  std::uint32_t last = AAA_EVENT_CONNECTION_LOST;  // of the three about the link
  std::vector<std::string> complaints;

  void note(std::uint32_t event) {
    ++counts.at(event);
    if (event > AAA_EVENT_REREGISTERED) return;
    const bool was_lost = last == AAA_EVENT_CONNECTION_LOST;
    const bool is_lost = event == AAA_EVENT_CONNECTION_LOST;
    if (was_lost == is_lost)
      complaints.push_back("event " + std::to_string(event) + " after " + std::to_string(last));
    last = event;
  }
};

std::mutex lock;
Events events;

}  // namespace

int note_link_event(std::uint32_t event) {
  const std::lock_guard hold(lock);
  events.note(event);
  return 0;
}

void forget_link_events() {
  const std::lock_guard hold(lock);
  events = {};
}

std::size_t link_events(std::uint32_t event) {
  const std::lock_guard hold(lock);
  return events.counts.at(event);
}

std::vector<std::string> link_event_complaints() {
  const std::lock_guard hold(lock);
  return events.complaints;
}

}  // namespace soak
