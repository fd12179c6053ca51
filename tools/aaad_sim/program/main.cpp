// aaad-sim: the simulator as a program. Runs until SIGINT, SIGTERM or the command "quit".
#include <poll.h>
#include <sys/signalfd.h>

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "aaad_sim.h"
#include "program/capture.h"
#include "program/commands.h"
#include "program/fields.h"
#include "program/options.h"
#include "server/file_descriptor.h"

namespace {

using aaa_sim::AaadSim;

void print_line(const std::string& line) {
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);
}

// A descriptor for the signals that end the program.
aaa_sim::FileDescriptor termination_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return aaa_sim::checked(::signalfd(-1, &signals, SFD_CLOEXEC), "signalfd");
}

// False after "quit".
bool run_line(AaadSim& sim, const std::string& line) {
  const aaa_sim::CommandResult result = aaa_sim::run_command(sim, line);
  if (!result.error.empty()) std::fprintf(stderr, "aaad-sim: %s\n", result.error.c_str());
  std::fputs(result.output.c_str(), stdout);
  std::fflush(stdout);
  return !result.quit;
}

// Commands on standard input.
class ControlInput {
 public:
  // poll() ignores a negative descriptor.
  explicit ControlInput(bool enabled) : fd_(enabled ? STDIN_FILENO : -1) {}
  int fd() const { return fd_; }

  // Reads once and runs the complete lines. False after "quit".
  bool read_commands(AaadSim& sim) {
    char chunk[4096];
    const ssize_t got = ::read(fd_, chunk, sizeof chunk);
    if (got > 0) {
      text_.append(chunk, static_cast<std::size_t>(got));
    } else {
      fd_ = -1;
      text_ += '\n';
    }
    return run_lines(sim);
  }

 private:
  bool run_lines(AaadSim& sim) {
    for (std::size_t end; (end = text_.find('\n')) != std::string::npos;) {
      const std::string line = text_.substr(0, end);
      text_.erase(0, end + 1);
      if (!run_line(sim, line)) return false;
    }
    return true;
  }

  int fd_;
  std::string text_;
};

void wait_until_done(AaadSim& sim, const aaa_sim::FileDescriptor& signals, ControlInput input) {
  for (;;) {
    pollfd waits[] = {{signals.get(), POLLIN, 0}, {input.fd(), POLLIN, 0}};
    if (::poll(waits, 2, -1) < 0) continue;
    if (waits[0].revents != 0) return;
    if (waits[1].revents != 0 && !input.read_commands(sim)) return;
  }
}

int run(const aaa_sim::Options& options) {
  const aaa_sim::FileDescriptor signals = termination_signals();
  aaa_sim::Output output{.keep = false};
  if (!options.quiet) output.line = print_line;
  if (options.fields) output.fields = aaa_sim::fields_of;
  if (!options.capture.empty())
    output.capture = aaa_sim::capture_to(options.capture, options.capture_secrets);
  AaadSim sim(options.directory, options.settings, output);
  sim.start();
  print_line("aaad-sim: listening on " + sim.socket_path());
  wait_until_done(sim, signals, ControlInput(options.control));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int exit_status = 0;
  const auto options = aaa_sim::parse_options(argc, argv, exit_status);
  if (!options) return exit_status;
  try {
    return run(*options);
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "aaad-sim: %s\n", error.what());
    return 1;
  }
}
