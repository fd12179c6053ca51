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
};

std::mutex lock;
Events events;  // guarded by lock

}  // namespace

int note_link_event(std::uint32_t event) {
  const std::lock_guard hold(lock);
  ++events.counts.at(event);
  if (event > AAA_EVENT_REREGISTERED) return 0;
  const bool was_lost = events.last == AAA_EVENT_CONNECTION_LOST;
  if (was_lost == (event == AAA_EVENT_CONNECTION_LOST))
    events.complaints.push_back("event " + std::to_string(event) + " after " +
                                std::to_string(events.last));
  events.last = event;
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
