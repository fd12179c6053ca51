// Memory of many clients, each a process of its own with both threads running, beside one peer.
// --clients N: how many in the end. --registered 0: they load the library only. Prints for 1, 2, 4
// and so on and for N clients their number and kilobytes for each: their part of shared pages, and
// all of the others.
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "library/client.h"
#include "support/registrar.h"
#include "support/server_process.h"
#include "support/workload.h"

namespace {

void ignore_result(result_info*) {}

// A client: tells that it is ready, and stays.
void be_client(const bench::Options& options) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (options.number("registered", 1) != 0) {
    reg_info info = {};
    info.use_send_buf = 1;
    info.notify_result_cb = ignore_result;
    bench::register_client(info);
  }
  const char ready = 1;
  if (write(static_cast<int>(options.number("ready", 0)), &ready, 1) == 1) pause();
}

pid_t start_client(int ready, bool registered) {
  const pid_t child = fork();
  if (child != 0) return child;
  execl("/proc/self/exe", "client", "--ready", std::to_string(ready).c_str(), "--registered",
        registered ? "1" : "0", nullptr);
  _exit(EXIT_FAILURE);
}

long kilobytes_of(pid_t process) {
  std::ifstream rollup("/proc/" + std::to_string(process) + "/smaps_rollup");
  for (std::string line; std::getline(rollup, line);) {
    if (line.rfind("Pss:", 0) == 0) return std::stol(line.substr(4));
  }
  throw std::runtime_error("a client has ended");
}

void serve(const bench::Registrar& registrar, std::size_t clients) {
  for (std::size_t i = 0; i < clients; i++) {
    registrar.accept_request_socket();
    registrar.accept_event_socket();
  }
  pause();
}

void print(const std::vector<pid_t>& clients) {
  long total = 0;
  for (const pid_t client : clients)
    total += kilobytes_of(client);
  std::printf("%zu %ld\n", clients.size(), total / static_cast<long>(clients.size()));
}

void measure(std::size_t most, bool registered) {
  const bench::Registrar registrar;
  bench::start_server([&] { serve(registrar, most); });
  int ready[2];
  if (pipe(ready) != 0) throw std::runtime_error("no pipe");
  std::vector<pid_t> clients;
  std::size_t next = 1;
  while (clients.size() < most) {
    clients.push_back(start_client(ready[1], registered));
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) throw std::runtime_error("no client");
    if (clients.size() != next && clients.size() != most) continue;
    print(clients);
    next *= 2;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Options options(argc, argv);
  if (options.has("ready")) {
    be_client(options);
  } else {
    measure(options.number("clients", 1), options.number("registered", 1) != 0);
  }
}
