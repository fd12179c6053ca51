#include "password_input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "status.h"
#include "terminal.h"

namespace aaa_probe {
namespace {

std::optional<Secret> first_line_of(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) throw Failure(Status::usage, path + ": " + std::strerror(errno));
  struct Closer {
    int descriptor;
    ~Closer() { (void)::close(descriptor); }
  } const closer{file};
  return read_line(file);
}

Secret required(std::optional<Secret> secret, const std::string& missing) {
  if (!secret) throw Failure(Status::usage, missing);
  return std::move(*secret);
}

}  // namespace

Secret read_password(const PasswordSource& source, const std::string& prompt) {
  if (source.is_stdin) return required(read_line(STDIN_FILENO), "no password on standard input");
  if (!source.file.empty())
    return required(first_line_of(source.file), source.file + ": no password in this file");
  return required(ask_on_terminal(prompt),
                  "no password typed on a terminal; give --password-stdin or --password-file");
}

}  // namespace aaa_probe
