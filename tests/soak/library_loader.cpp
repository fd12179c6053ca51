// library_loader LIBRARY ROUNDS: loads the shared library, registers, asks, leaves and unloads it,
// again and again. Says on standard error what went wrong; status 0 when nothing did.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "aaa_client.h"
#include "support/eventually.h"

// Takes the place of the system's for the library, whose pauses are then short.
extern "C" int usleep(useconds_t) {
  const timespec millisecond = {.tv_sec = 0, .tv_nsec = 1000000};
  return ::nanosleep(&millisecond, nullptr);
}

namespace {

using std::filesystem::directory_iterator;

std::size_t entries(const char* directory) {
  return static_cast<std::size_t>(std::distance(directory_iterator(directory), {}));
}

std::size_t mappings() {
  std::ifstream maps("/proc/self/maps");
  std::size_t count = 0;
  for (std::string line; std::getline(maps, line);)
    count += line.find("libaaa_client") != std::string::npos ? 1 : 0;
  return count;
}

// What must be the same after each round.
struct Belongings {
  std::size_t descriptors = entries("/proc/self/fd");
  std::size_t threads = entries("/proc/self/task");
  std::size_t library_mappings = mappings();

  bool operator==(const Belongings&) const = default;
};

template <class Function>
Function* find(void* library, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(library, name));
}

const char* use(void* library) {
  reg_info info = {};
  std::snprintf(info.model_name, sizeof info.model_name, "loader");
  if (find<decltype(aaa_svr_reg)>(library, "aaa_svr_reg")(&info) != 0) return "aaa_svr_reg";
  if (find<decltype(aaa_is_alive)>(library, "aaa_is_alive")() != 1) return "aaa_is_alive";
  if (find<decltype(aaa_get_session_id)>(library, "aaa_get_session_id")() == 0)
    return "aaa_get_session_id";
  return find<decltype(aaa_svr_dereg)>(library, "aaa_svr_dereg")() == 0 ? nullptr : "aaa_svr_dereg";
}

const char* take_round(const char* path) {
  void* const library = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return ::dlerror();
  const char* const failed = use(library);
  if (failed != nullptr) return failed;
  return ::dlclose(library) == 0 ? nullptr : ::dlerror();
}

bool takes_round(const char* path) {
  const char* const failed = take_round(path);
  if (failed != nullptr) std::fprintf(stderr, "%s failed\n", failed);
  return failed == nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  // A sanitizer's own thread comes with the first one of the program.
  std::thread([] {}).join();
  const std::size_t threads = entries("/proc/self/task");
  if (!takes_round(argv[1])) return 1;
  // The library stays mapped, and its datagram pair open.
  if (!test::eventually([&] { return entries("/proc/self/task") == threads; })) return 3;
  const Belongings first;
  for (int n = 1; n < std::atoi(argv[2]); ++n)
    if (!takes_round(argv[1])) return 1;
  if (test::eventually([&] { return Belongings() == first; })) return 0;
  const Belongings last;
  std::fprintf(stderr, "%zu, then %zu descriptors; %zu, then %zu threads; %zu, then %zu mappings\n",
               first.descriptors, last.descriptors, first.threads, last.threads,
               first.library_mappings, last.library_mappings);
  return 4;
}
