// aaa-probe: asks aaad, for people and for scripts.
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "options.h"
#include "time_limit.h"

namespace aaa_probe {
namespace {

Status run(const Command& command) {
  Output output(command.is_json);
  try {
    return command.run({command.connection, output});
  } catch (const Failure& failure) {
    std::cerr << "aaa-probe: " << failure.what() << '\n';
    return failure.status();
  }
}

}  // namespace
}  // namespace aaa_probe

int main(int argc, char** argv) {
  auto status = aaa_probe::Status::accepted;
  if (const auto command = aaa_probe::parse_options(argc, argv, status))
    status = aaa_probe::run(*command);
  const int number = static_cast<int>(status);
  if (aaa_probe::has_threads_left) std::_Exit(number);
  return number;
}
