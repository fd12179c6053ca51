// The whole link: registration, the receive path of both modes, dispatch, callbacks, exchanges and
// registering again, against an aaad that says what the input says.
#include <algorithm>
#include <iterator>

#include "fuzz/link/link_run.h"
#include "fuzz/link/played_client.h"
#include "fuzz/touch.h"
#include "hostile/intended_leftovers.h"
#include "support/failing_allocator.h"
#include "transport/base/memory.h"

namespace {

// The library wipes what it releases: large blocks would take all the time.
constexpr std::size_t kLargestMessage = 1 << 16;

reg_info client(std::uint8_t flags) {
  reg_info info = fuzz::played_client();
  if ((flags & fuzz::kNoCallbacks) == 0) return info;
  reg_info mute = {};
  std::copy(std::begin(info.model_name), std::end(info.model_name), mute.model_name);
  mute.del_msg_req_cb = info.del_msg_req_cb;
  return mute;
}

void run(fuzz::PlayedAaad& aaad) {
  const reg_info info = client(aaad.flags());
  if ((aaad.flags() & fuzz::kAgentMode) != 0) {
    fuzz::run_event_loop(aaad, info);
  } else {
    fuzz::run_receive_thread(aaad, info);
  }
}

// All the bytes that the library may take for records, socket by socket, however the steps cut
// them.
fuzz::Bytes all_bytes(const fuzz::Script& script) {
  fuzz::Bytes bytes;
  for (const bool answers : {false, true})
    for (const fuzz::Step& step : script.steps)
      if (fuzz::is_answer(step.kind) == answers)
        bytes.insert(bytes.end(), step.bytes.begin(), step.bytes.end());
  return bytes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Script script = fuzz::read_script({data, size});
  const test::TrackedHeap heap(kLargestMessage);
  fuzz::forget_waiting();
  const std::uint32_t live = fuzz::live_blocks();
  const std::uint32_t failed = g_aaa_malloc_fail_times;
  fuzz::PlayedAaad aaad(script);
  run(aaad);
  fuzz::require(fuzz::has_waited_for_result() ||
                test::are_intended(fuzz::live_blocks() - live, all_bytes(script),
                                   g_aaa_malloc_fail_times - failed));
  return 0;
}
