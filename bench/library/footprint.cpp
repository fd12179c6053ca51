// Growth of resident memory, in kilobytes, when a process loads the library (the argument) and
// registers with both threads running: after loading, after registering, and by mapping. The
// program is linked without libgcc_s, like a C program.
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#include "aaa_client.h"
#include "support/registrar.h"
#include "support/server_process.h"

namespace {

// Resident kilobytes by the name of the mapping, without this program's own, of which running it
// touches more and more.
std::map<std::string, long> resident_by_mapping() {
  std::map<std::string, long> sizes;
  std::string name;
  std::ifstream maps("/proc/self/smaps");
  for (std::string line; std::getline(maps, line);) {
    std::istringstream words(line);
    std::string first, skipped;
    words >> first;
    if (first == "Rss:") sizes[name] += std::stol(line.substr(4));
    if (first.back() == ':') continue;
    words >> skipped >> skipped >> skipped >> skipped;
    name.clear();
    words >> name;
    name = name.substr(name.rfind('/') + 1);
  }
  sizes.erase(program_invocation_short_name);
  return sizes;
}

long sum_of(const std::map<std::string, long>& sizes) {
  long sum = 0;
  for (const auto& [name, size] : sizes)
    sum += size;
  return sum;
}

long resident() {
  return sum_of(resident_by_mapping());
}

void ignore_result(result_info*) {}

void register_with(void* library) {
  const auto svr_reg = reinterpret_cast<decltype(&aaa_svr_reg)>(dlsym(library, "aaa_svr_reg"));
  reg_info info = {};
  std::strcpy(info.model_name, "bench");
  info.use_send_buf = 1;
  info.notify_result_cb = ignore_result;
  if (svr_reg(&info) != 0) throw std::runtime_error("not registered");
}

void* load(const char* library) {
  void* const handle = dlopen(library, RTLD_NOW);
  if (handle == nullptr) throw std::runtime_error(dlerror());
  return handle;
}

void answer_registration(const bench::Registrar& registrar) {
  registrar.accept_request_socket();
  registrar.accept_event_socket();
  pause();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return EXIT_FAILURE;
  const bench::Registrar registrar;
  bench::start_server([&] { answer_registration(registrar); });
  resident();
  const auto mappings = resident_by_mapping();
  const long before = resident();
  void* const library = load(argv[1]);
  const long loaded = resident();
  register_with(library);
  const long registered = resident();
  std::printf("loaded %ld\nregistered %ld\n", loaded - before, registered - before);
  for (const auto& [name, size] : resident_by_mapping()) {
    const auto found = mappings.find(name);
    const long grown = size - (found == mappings.end() ? 0 : found->second);
    if (grown != 0) std::printf("%s %ld\n", name.empty() ? "anonymous" : name.c_str(), grown);
  }
}
