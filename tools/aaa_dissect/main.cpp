// aaa-dissect: prints the messages between clients and aaad.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

#include "capture/capture_file.h"
#include "capture/message_packet.h"
#include "capture_input.h"
#include "options.h"
#include "printer.h"
#include "server/standard_streams.h"
#include "tap.h"

namespace aaa_dissect {
namespace {

void complain(const std::string& line) {
  std::fprintf(stderr, "aaa-dissect: %s\n", line.c_str());
}

void dissect_file(const Options& options, Printer& printer) {
  const bool is_stdin = options.file.empty();
  std::ifstream file;
  if (!is_stdin) file.open(options.file, std::ios::binary);
  try {
    if (!is_stdin && !file) throw std::runtime_error(std::strerror(errno));
    dissect(is_stdin ? std::cin : file, printer);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error((is_stdin ? "standard input" : options.file) + ": " + error.what());
  }
}

// Where the messages of a tap go.
class TapOutput {
 public:
  TapOutput(const Options& options, Printer& printer)
      : secrets_(options.style.secrets), printer_(options.quiet ? nullptr : &printer) {}

  void write_to(const std::string& path) {
    file_.emplace(path, "aaa-dissect " AAA_DISSECT_VERSION, complain);
  }

  bool show(std::uint64_t socket, const aaa_capture::Interface& interface,
            aaa_capture::Packet packet, aaa_capture::Form form) {
    if (!secrets_) aaa_capture::mask_secrets(interface, packet, form);
    const bool goes_on = printer_ == nullptr || printer_->print(interface, packet);
    if (file_) file_->write(socket, interface, std::move(packet));
    return goes_on;
  }

 private:
  const bool secrets_;
  Printer* const printer_;
  std::optional<aaa_capture::CaptureFile> file_;
};

bool tap(const Options& options, Printer& printer) {
  TapOutput output(options, printer);
  Tap tap(
      *options.tap, options.directory,
      [&output](std::uint64_t socket, const aaa_capture::Interface& interface,
                aaa_capture::Packet packet, aaa_capture::Form form) {
        return output.show(socket, interface, std::move(packet), form);
      },
      complain);
  // A tap that cannot listen leaves a file as it is.
  if (!options.write.empty()) output.write_to(options.write);
  complain("listening on " + tap.path());
  if (!options.quiet) tap.end_with(STDOUT_FILENO);
  printer.end_with(tap.signals());
  return tap.run();
}

// A reader of the output that has seen enough, such as head, is no error.
Status status_of(const Printer& printer) {
  if (printer.error() == 0 || printer.error() == EPIPE) return Status::done;
  if (printer.error() == ETIMEDOUT)
    complain("nobody reads standard output: " + std::to_string(printer.missed()) +
             " messages are not printed");
  else
    complain(std::string("standard output: ") + std::strerror(printer.error()));
  return Status::failed;
}

Status run(const Options& options) {
  Printer printer(options.style);
  bool is_done = true;
  try {
    if (!options.tap)
      dissect_file(options, printer);
    else
      is_done = tap(options, printer);
  } catch (const std::runtime_error& error) {
    complain(error.what());
    return Status::failed;
  }
  const Status status = status_of(printer);
  return is_done ? status : Status::failed;
}

}  // namespace
}  // namespace aaa_dissect

int main(int argc, char** argv) {
  aaa_sim::occupy_standard_streams();
  (void)std::signal(SIGPIPE, SIG_IGN);
  auto status = aaa_dissect::Status::done;
  if (const auto options = aaa_dissect::parse_options(argc, argv, status))
    status = aaa_dissect::run(*options);
  return static_cast<int>(status);
}
