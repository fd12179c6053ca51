#include "support/workload.h"

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

// A woken thread does not preempt the running one. Otherwise the number of preemptions in a round
// trip varies from run to run, and they cost more than what is measured.
void use_batch_policy() {
  const sched_param none = {};
  if (sched_setscheduler(0, SCHED_BATCH, &none) != 0) throw std::runtime_error("no batch policy");
}

// The voluntary ones; others come from the rest of the machine.
long context_switches() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_nvcsw;
}

void run_and_report(Workload& workload, std::size_t operations) {
  const long switches_before = context_switches();
  const std::chrono::nanoseconds time_before = processor_time();
  workload.run(operations);
  const std::chrono::nanoseconds taken = processor_time() - time_before;
  std::cout << taken.count() << ' ' << context_switches() - switches_before << std::endl;
}

void run_on_request(Workload& workload) {
  for (std::size_t operations = 0; std::cin >> operations;)
    run_and_report(workload, operations);
}

int run(const Options& options, const MakeWorkload& make) {
  stay_on(options.number("processor", static_cast<std::size_t>(last_processor())));
  use_batch_policy();
  const std::unique_ptr<Workload> workload = make(options);
  if (options.has("operations")) {
    run_and_report(*workload, options.number("operations", 1));
  } else {
    run_on_request(*workload);
  }
  // Threads may still wait on their sockets: no destructors.
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

int run_main(int argc, char** argv, const MakeWorkload& make) {
  try {
    return run(Options(argc, argv), make);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return EXIT_FAILURE;
  }
}

}  // namespace bench
