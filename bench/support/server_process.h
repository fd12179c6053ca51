// The server of a measured program, as a process of its own.
#pragma once

#include <chrono>
#include <functional>

namespace bench {

// Runs `serve` in a child process, which is killed when its parent ends. Call it before starting
// threads.
void start_server(const std::function<void()>& serve);

// Processor time of this process and its servers so far. They share one processor: it is the time
// that would pass on an idle machine.
std::chrono::nanoseconds processor_time();

}  // namespace bench
