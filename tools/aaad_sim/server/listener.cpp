#include "server/listener.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace aaa_sim {
namespace {

constexpr int kBacklog = 64;

[[noreturn]] void fail(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) fail(ENAMETOOLONG, path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

FileDescriptor new_socket() {
  return checked(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket");
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

bool is_in_use(const sockaddr_un& address) {
  const FileDescriptor probe = new_socket();
  return ::connect(probe.get(), generic(address), sizeof address) == 0 || errno == EAGAIN;
}

// Clients of any user connect, and create their own sockets in the same directory.
void make_open_directory(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (!error) std::filesystem::permissions(directory, std::filesystem::perms::all, error);
  if (error) fail(error.value(), directory);
}

}  // namespace

std::string Listener::path_below(const std::string& directory) {
  return directory + "/security/aaa/.aaa_domain_socket_fs";
}

Listener::Listener(std::string path) : path_(std::move(path)), socket_(new_socket()) {
  const sockaddr_un address = address_of(path_);
  make_open_directory(std::filesystem::path(path_).parent_path());
  if (is_in_use(address)) fail(EADDRINUSE, path_);
  ::unlink(path_.c_str());
  if (::bind(socket_.get(), generic(address), sizeof address) != 0) fail(errno, path_);
  if (::listen(socket_.get(), kBacklog) != 0) fail(errno, path_);
}

Listener::~Listener() {
  ::unlink(path_.c_str());
}

FileDescriptor Listener::connect(const std::string& path) {
  const sockaddr_un address = address_of(path);
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket.is_open() || ::connect(socket.get(), generic(address), sizeof address) == 0)
    return socket;
  const int error = errno;
  socket.reset();
  errno = error;
  return socket;
}

FileDescriptor Listener::accept() {
  return FileDescriptor(::accept4(fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

pid_t peer_pid(int fd) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size);
  return credentials.pid;
}

}  // namespace aaa_sim
