// The whole link: registration, the receive path of both modes, dispatch, callbacks, exchanges and
// registering again, against an aaad that says what the input says; all on the calling thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "agent/fake_loop.h"
#include "fuzz/link/scripted_client.h"
#include "traffic/touch.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"
#include "transport/link_sockets.h"

namespace {

using traffic::require;

// The library wipes what it releases: large blocks would take all the time.
constexpr std::size_t kLargestMessage = 1 << 16;

reg_info client(std::uint8_t flags) {
  reg_info info = fuzz::scripted_client();
  if ((flags & fuzz::kNoCallbacks) == 0) return info;
  reg_info mute = {};
  std::copy(std::begin(info.model_name), std::end(info.model_name), mute.model_name);
  mute.del_msg_req_cb = info.del_msg_req_cb;
  return mute;
}

// An aaad that grants the id -1 has the library take its client for deregistered when the link is
// lost; the sockets then stay as they are.
template <class Leave>
void leave_with(fuzz::ScriptedAaad& aaad, Leave leave) {
  aaad.end_faults();
  const bool taken_for_gone = aaa::load(g_aaa_client_cb.aaa_id) == -1;
  leave();
  if (taken_for_gone) aaa_lib_client_close();
  fuzz::forget_client(aaad);
}

void run_thread(fuzz::ScriptedAaad& aaad, const reg_info& info) {
  aaad.when_idle = fuzz::end_receive_thread;
  aaad.when_opening = [&] {
    if (aaad.is_over()) fuzz::end_receive_thread();
  };
  require(aaa_svr_reg(&info) == 0);
  fuzz::run_receive_thread();
  leave_with(aaad, [] {
    if (aaa_svr_dereg() != 0) aaa_lib_client_close();
  });
}

// A loop that only beats, on a link that nobody reads, stops after so many tasks in a row.
constexpr int kPatience = 32;

// Runs what comes next. Returns false when there is nothing.
bool run_next(test::FakeLoop& loop, fuzz::ScriptedAaad& aaad) {
  const std::vector<test::AddedTask> tasks = loop.tasks();
  const auto reads = [](const auto& task) { return task.way == "read_high"; };
  const auto waits = [](const auto& task) { return task.way == "timer" && task.number > 0; };
  auto next =
      std::ranges::find_if(tasks, [&](const auto& task) { return !reads(task) && !waits(task); });
  if (next == tasks.end() && aaad.is_over()) return false;
  if (next == tasks.end()) next = std::ranges::find_if(tasks, reads);
  if (next == tasks.end()) next = std::ranges::find_if(tasks, waits);
  if (next == tasks.end()) return false;
  if (waits(*next)) aaad.pass(static_cast<std::uint64_t>(next->number) * 1000000);
  loop.run(next->name);
  return true;
}

// Until aaad has nothing more to say.
void run_loop(fuzz::ScriptedAaad& aaad, const reg_info& info) {
  test::FakeLoop loop;
  require(aaa_agent_init(&info, loop.master()) == 0);
  int idle = 0;
  for (std::size_t left = aaad.steps_left(); idle < kPatience && run_next(loop, aaad); idle++) {
    if (aaad.steps_left() == left) continue;
    left = aaad.steps_left();
    idle = 0;
  }
  leave_with(aaad, [] { aaa_agent_finish(); });
}

// All the bytes that the library may take for records, socket by socket, however the steps cut
// them.
std::string all_bytes(const fuzz::Script& script) {
  std::string bytes;
  for (const bool answers : {false, true})
    for (const fuzz::Step& step : script.steps)
      if (fuzz::is_answer(step.kind) == answers) bytes += step.bytes;
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  testing::GTEST_FLAG(break_on_failure) = true;  // what the loop finds wrong
  setenv("TMPDIR", "/tmp", 1);                   // nothing is written there
  traffic::event_messages();                     // encoded before allocations fail
  const fuzz::Script script = fuzz::read_script({data, size});
  const test::TrackedHeap heap(kLargestMessage);
  fuzz::forget_waiting();
  const std::uint32_t live = test::live_blocks();
  const std::uint32_t failed = g_aaa_malloc_fail_times;
  fuzz::ScriptedAaad aaad(script);
  g_aaa_status.debug = (script.flags & fuzz::kDebugGate) != 0 ? 1 : 0;
  if ((script.flags & fuzz::kAgentMode) != 0)
    run_loop(aaad, client(script.flags));
  else
    run_thread(aaad, client(script.flags));
  require(fuzz::has_waited_for_result() ||
          fuzz::are_intended(test::live_blocks() - live, all_bytes(script),
                             g_aaa_malloc_fail_times - failed));
  return 0;
}
