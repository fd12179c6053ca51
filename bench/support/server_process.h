// The other end of a measured program's sockets, as a process of its own.
#pragma once

#include <chrono>
#include <functional>

namespace bench {

// Runs `serve` in a child process, which ends with its parent. Start it before any thread.
void start_server(const std::function<void()>& serve);

// That this process and its servers have taken so far. All of them share one processor, so it is
// the time that passes while nothing else runs there.
std::chrono::nanoseconds processor_time();

}  // namespace bench
