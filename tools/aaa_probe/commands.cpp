#include "commands.h"

#include "results.h"

namespace aaa_probe {
namespace {

int on_event(std::uint32_t event) {
  if (event == AAA_EVENT_CONNECTION_LOST) fail_all_requests();
  return 0;
}

}  // namespace

reg_info registration_for_results() {
  reg_info record{};
  record.notify_result_cb = deliver_result;
  record.aaa_event_cb = on_event;
  return record;
}

}  // namespace aaa_probe
