#include "transport/base/paths.h"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "aaa_client.h"

namespace aaa {
namespace {

// Guards `directory`. No other lock is taken under it.
pthread_mutex_t directory_lock = PTHREAD_MUTEX_INITIALIZER;
char directory[max_directory_length + 1] = {};  // empty: TMPDIR

constexpr std::size_t max_path_length = 255;
constexpr mode_t everybody = 0777;

struct Path {
  char text[max_path_length + 1] = {};
  std::size_t length = 0;

  // Returns false, and changes nothing, when the result would be too long.
  bool append(const char* part, std::size_t part_length) {
    if (part_length > max_path_length - length) return false;
    std::memcpy(text + length, part, part_length);
    length += part_length;
    text[length] = '\0';
    return true;
  }
};

bool resolve(const char* path, Path& resolved) {
  const std::size_t length = std::strlen(path);
  if (path[0] == '/') {
    return resolved.append(path, length < max_path_length ? length : max_path_length);
  }
  if (length < 3 || path[0] != '.' || path[1] != '/') return false;
  char working[128];
  if (getcwd(working, sizeof working) == nullptr) return false;
  if (length + std::strlen(working) > max_path_length) return false;
  return resolved.append(working, std::strlen(working)) && resolved.append(path + 1, length - 1);
}

std::int32_t make_one(Path& prefix, const char* component, std::size_t length) {
  if (prefix.length + length + 1 > max_path_length) return -1;
  prefix.append(component, length);
  prefix.append("/", 1);
  return mkdir(prefix.text, everybody) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace

Directory::Directory() : path_(set_) {
  pthread_mutex_lock(&directory_lock);
  std::memcpy(set_, directory, sizeof set_);
  pthread_mutex_unlock(&directory_lock);
  if (set_[0] == '\0') path_ = std::getenv("TMPDIR");
}

}  // namespace aaa

std::int32_t aaa_set_directory(const char* path) {
  using namespace aaa;
  char text[sizeof directory] = {};
  if (path != nullptr) {
    const std::size_t length = strnlen(path, sizeof text);
    if (path[0] != '/' || length > max_directory_length) return -1;
    std::memcpy(text, path, length);
  }
  pthread_mutex_lock(&directory_lock);
  std::memcpy(directory, text, sizeof directory);
  pthread_mutex_unlock(&directory_lock);
  return 0;
}

std::int32_t aaa_make_path(char* buffer, const char* suffix, std::uint32_t size) {
  if (buffer == nullptr || suffix == nullptr) return 0;
  const aaa::Directory directory;
  const char* const root = directory.path();
  if (root == nullptr || std::strlen(root) + std::strlen(suffix) >= size) return 0;
  std::snprintf(buffer, size, "%s%s", root, suffix);
  return 1;
}

std::int32_t aaa_make_dir(const char* path) {
  using namespace aaa;
  if (path == nullptr) return EINVAL;
  Path resolved;
  if (!resolve(path, resolved)) return -1;
  Path prefix;
  prefix.append("/", 1);
  for (const char* next = resolved.text; *next != '\0';) {
    next += std::strspn(next, "/");
    const std::size_t length = std::strcspn(next, "/");
    if (length == 0) break;
    const std::int32_t error = make_one(prefix, next, length);
    if (error != 0) return error;
    next += length;
  }
  return 0;
}

std::int32_t aaa_lib_make_work_dir() {
  using namespace aaa;
  char path[256];
  if (aaa_make_path(path, work_dir_suffix, sizeof path) == 0) return -1;
  if (aaa_make_dir(path) != 0) return -1;
  return chmod(path, everybody) == 0 ? 0 : -1;
}
