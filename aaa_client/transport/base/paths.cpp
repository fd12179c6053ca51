#include "transport/base/paths.h"

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
  char directory[128];
  if (getcwd(directory, sizeof directory) == nullptr) return false;
  if (length + std::strlen(directory) > max_path_length) return false;
  return resolved.append(directory, std::strlen(directory)) &&
         resolved.append(path + 1, length - 1);
}

std::int32_t make_one(Path& prefix, const char* component, std::size_t length) {
  if (prefix.length + length + 1 > max_path_length) return -1;
  prefix.append(component, length);
  prefix.append("/", 1);
  return mkdir(prefix.text, everybody) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_make_path(char* buffer, const char* suffix, std::uint32_t size) {
  if (buffer == nullptr || suffix == nullptr) return 0;
  const char* const root = std::getenv("TMPDIR");
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
