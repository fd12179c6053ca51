#include "support/contender.h"

#include <sched.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "support/server_process.h"

namespace bench {
namespace {

int last_processor() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  sched_getaffinity(0, sizeof allowed, &allowed);
  int last = 0;
  for (int i = 0; i < CPU_SETSIZE; i++) {
    if (CPU_ISSET(static_cast<std::size_t>(i), &allowed)) last = i;
  }
  return last;
}

void stay_on(std::size_t processor) {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(processor, &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) throw std::runtime_error("no such processor");
}

// A thread that is woken waits until the running one blocks. Otherwise the scheduler's mood decides
// how often the threads of a round trip interrupt each other, and that costs more than what is
// measured.
void wait_for_turns() {
  const sched_param none = {};
  if (sched_setscheduler(0, SCHED_BATCH, &none) != 0) throw std::runtime_error("no batch policy");
}

// Those that the program's threads bring about by waiting; others come from the rest of the
// machine.
long context_switches() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_nvcsw;
}

void run_and_report(Contender& contender, std::size_t operations) {
  const long switches_before = context_switches();
  const std::chrono::nanoseconds time_before = processor_time();
  contender.run(operations);
  const std::chrono::nanoseconds taken = processor_time() - time_before;
  std::cout << taken.count() << ' ' << context_switches() - switches_before << std::endl;
}

void run_as_told(Contender& contender) {
  for (std::size_t operations = 0; std::cin >> operations;)
    run_and_report(contender, operations);
}

int run_contender(const Options& options, const MakeContender& make) {
  stay_on(options.number("processor", static_cast<std::size_t>(last_processor())));
  wait_for_turns();
  const std::unique_ptr<Contender> contender = make(options);
  if (options.has("operations")) {
    run_and_report(*contender, options.number("operations", 1));
  } else {
    run_as_told(*contender);
  }
  // Threads may still wait on their sockets: they end with the process.
  std::_Exit(EXIT_SUCCESS);
}

}  // namespace

Options::Options(int argc, char** argv) {
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string name = argv[i];
    if (name.rfind("--", 0) != 0) throw std::runtime_error("not an option: " + name);
    numbers_[name.substr(2)] = std::stoul(argv[i + 1]);
  }
}

std::size_t Options::number(const std::string& name, std::size_t fallback) const {
  const auto found = numbers_.find(name);
  return found == numbers_.end() ? fallback : found->second;
}

int contend(int argc, char** argv, const MakeContender& make) {
  try {
    return run_contender(Options(argc, argv), make);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return EXIT_FAILURE;
  }
}

}  // namespace bench
