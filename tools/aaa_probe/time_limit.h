// Calls of the library that can take longer than the user wants to wait.
#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <utility>

namespace aaa_probe {

// Whether a call was given up, or the library still tries to connect. Their threads run on, so the
// process must end without destroying what they use.
inline std::atomic<bool> has_threads_left = false;

// Runs `work` on a thread of its own, which goes on after the limit: `work` must own what it uses.
template <class Work>
auto result_within(std::chrono::milliseconds limit, Work work) {
  using Result = decltype(work());
  std::packaged_task<Result()> task(std::move(work));
  std::future<Result> result = task.get_future();
  std::thread(std::move(task)).detach();
  if (result.wait_for(limit) == std::future_status::ready)
    return std::optional<Result>(result.get());
  has_threads_left = true;
  return std::optional<Result>();
}

}  // namespace aaa_probe
