#include "soak/thread_list.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace soak {

std::vector<Thread> threads_of(pid_t process) {
  const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
  std::vector<Thread> threads;
  std::error_code ignored;
  for (const auto& task : std::filesystem::directory_iterator(tasks, ignored)) {
    Thread thread{std::stoi(task.path().filename()), ""};
    std::getline(std::ifstream(task.path() / "comm"), thread.name);
    threads.push_back(thread);
  }
  return threads;
}

std::size_t receive_threads_of(pid_t process) {
  // A thread is named with at most 14 characters.
  const std::string name = (std::to_string(process) + "_aaalib_th").substr(0, 14);
  return static_cast<std::size_t>(std::ranges::count(threads_of(process), name, &Thread::name));
}

}  // namespace soak
