// Work of several threads at once.
#pragma once

#include <cstdint>
#include <thread>
#include <vector>

namespace test {

// Runs `work` on so many threads, each with its number from 0 on, and waits for them.
template <class Work>
void on_threads(std::uint32_t count, Work work) {
  std::vector<std::thread> threads;
  for (std::uint32_t n = 0; n < count; ++n)
    threads.emplace_back(work, n);
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace test
