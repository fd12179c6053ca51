// The threads of a process, from /proc.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace soak {

struct Thread {
  pid_t id;
  std::string name;
};

std::vector<Thread> threads_of(pid_t process);

// How many receive threads of the library the process runs.
std::size_t receive_threads_of(pid_t process);

}  // namespace soak
