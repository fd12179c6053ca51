#include "support/registrar.h"

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "support/sockets.h"

namespace bench {
namespace {

constexpr std::uint32_t aaa_id = 1;
constexpr std::uint32_t aaa_id_limit = 1000;

int accept_and_answer(int listener, const Bytes& answer) {
  const int fd = accept(listener, nullptr, nullptr);
  aaa_ipc_header header;
  if (!receive_all(fd, &header, sizeof header)) return fd;
  Bytes body(header.length);
  if (receive_all(fd, body.data(), body.size())) send_all(fd, answer.data(), answer.size());
  return fd;
}

std::string new_directory() {
  char name[] = "/tmp/aaa-bench.XXXXXX";
  if (mkdtemp(name) == nullptr) throw std::runtime_error("no temporary directory");
  std::filesystem::create_directories(std::string(name) + "/security/aaa");
  return name;
}

// By another process: the buffers of reading a directory would leave holes in this one's heap,
// which make blocks of a kilobyte and more slower to allocate, and the counterparts have none.
void remove_directory(const std::string& path) {
  std::string rm = "rm";
  std::string options = "-rf";
  std::string name = path;
  char* const arguments[] = {rm.data(), options.data(), name.data(), nullptr};
  pid_t process;
  if (posix_spawnp(&process, "rm", nullptr, nullptr, arguments, environ) == 0)
    waitpid(process, nullptr, 0);
}

}  // namespace

Registrar::Registrar()
    : path_(new_directory()), listener_(listen_at(path_ + "/security/aaa/.aaa_domain_socket_fs")) {
  setenv("TMPDIR", path_.c_str(), 1);
}

Registrar::~Registrar() {
  close(listener_);
  remove_directory(path_);
}

int Registrar::accept_request_socket() const {
  return accept_and_answer(listener_, frame(AAA_MSG_REGISTER_RESP, 0, &aaa_id, sizeof aaa_id));
}

// The limit makes clients send heartbeats, as with a real daemon.
int Registrar::accept_event_socket() const {
  aaa_status status = {};
  status.aaa_id_limit = aaa_id_limit;
  return accept_and_answer(listener_, frame(AAA_MSG_AAA_INFO_READY, 0, &status, sizeof status));
}

}  // namespace bench
