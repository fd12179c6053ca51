// The threads of a process, from /proc.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace test {

struct Thread {
  pid_t id;
  std::string name;  // at most 14 characters, as the kernel keeps those of the library
};

inline std::vector<Thread> threads_of(pid_t process) {
  std::vector<Thread> threads;
  std::error_code ignored;
  for (const auto& task :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", ignored)) {
    Thread thread{std::stoi(task.path().filename()), ""};
    std::getline(std::ifstream(task.path() / "comm"), thread.name);
    threads.push_back(thread);
  }
  return threads;
}

inline std::vector<pid_t> threads_named(const std::string& name, pid_t process = getpid()) {
  std::vector<pid_t> found;
  for (const Thread& thread : threads_of(process))
    if (thread.name == name) found.push_back(thread.id);
  return found;
}

inline std::string receive_thread_name(pid_t process = getpid()) {
  return (std::to_string(process) + "_aaalib_th").substr(0, 14);
}
inline std::string flush_thread_name() {
  return (std::to_string(getpid()) + "_aaa_buf").substr(0, 14);
}

// How many receive threads of the library the process runs.
inline std::size_t receive_threads_of(pid_t process) {
  return threads_named(receive_thread_name(process), process).size();
}

}  // namespace test
