// The calls about files that the tests of other folders do not replace.
#include "faults/file_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cstdarg>
#include <cstddef>

namespace faults {
namespace {

std::atomic<FileCallScript*> script = nullptr;

std::optional<int> answer(Call call) {
  FileCallScript* const current = script;
  return current == nullptr ? std::nullopt : (*current)(call);
}

}  // namespace

ScriptedFileCalls::ScriptedFileCalls(FileCallScript answers) : script_(std::move(answers)) {
  script = &script_;
}
ScriptedFileCalls::~ScriptedFileCalls() {
  script = nullptr;
}

}  // namespace faults

using faults::answer;
using faults::Call;

extern "C" {

int __real_mkdir(const char* path, mode_t mode);
int __real_chmod(const char* path, mode_t mode);
int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* data, std::size_t size);

int __wrap_mkdir(const char* path, mode_t mode) {
  const auto result = answer(Call::mkdir);
  return result ? *result : __real_mkdir(path, mode);
}

int __wrap_chmod(const char* path, mode_t mode) {
  const auto result = answer(Call::chmod);
  return result ? *result : __real_chmod(path, mode);
}

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const auto result = answer(Call::open);
  return result ? *result : __real_open(path, flags, mode);
}

ssize_t __wrap_read(int fd, void* data, std::size_t size) {
  const auto result = answer(Call::read);
  return result ? *result : __real_read(fd, data, size);
}

}  // extern "C"
