#include "backend/input_file.h"

#include <fcntl.h>

#include <cstring>
#include <stdexcept>

#include "server/file_descriptor.h"

namespace aaa_sim {
namespace {

[[noreturn]] void fail(const std::string& path) {
  throw std::runtime_error(path + ": " + std::strerror(errno));
}

}  // namespace

// Not with a stream: it opens a directory, and what it cannot read looks like the end of the file.
std::string contents_of(const std::string& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.is_open()) fail(path);
  std::string contents;
  char chunk[4096];
  for (ssize_t got; (got = ::read(file.get(), chunk, sizeof chunk)) != 0;) {
    if (got < 0) fail(path);
    contents.append(chunk, static_cast<std::size_t>(got));
  }
  return contents;
}

}  // namespace aaa_sim
