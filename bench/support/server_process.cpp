#include "support/server_process.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <vector>

namespace bench {
namespace {

std::vector<clockid_t> clocks = {CLOCK_PROCESS_CPUTIME_ID};

void count_time_of(pid_t process) {
  clockid_t clock = 0;
  if (clock_getcpuclockid(process, &clock) != 0) throw std::runtime_error("no clock of a process");
  clocks.push_back(clock);
}

}  // namespace

void start_server(const std::function<void()>& serve) {
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot fork");
  if (child > 0) {
    count_time_of(child);
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  serve();
  std::_Exit(EXIT_SUCCESS);
}

std::chrono::nanoseconds processor_time() {
  std::chrono::nanoseconds sum{0};
  for (const clockid_t clock : clocks) {
    timespec time = {};
    clock_gettime(clock, &time);
    sum += std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }
  return sum;
}

}  // namespace bench
