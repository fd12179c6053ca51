#include "connector.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "server/listener.h"

namespace aaa_dissect {
namespace {

using aaa_sim::FileDescriptor;

// An errno value and, unless that says why there is none, a descriptor.
class Reply {
 public:
  Reply() {
    message_.msg_iov = &part_;
    message_.msg_iovlen = 1;
    message_.msg_control = space_;
    message_.msg_controllen = sizeof space_;
  }
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;

  void send(int control, const FileDescriptor& descriptor) {
    error_ = descriptor.is_open() ? 0 : errno;
    if (descriptor.is_open())
      attach(descriptor.get());
    else
      message_.msg_controllen = 0;
    (void)::sendmsg(control, &message_, MSG_NOSIGNAL);
  }

  FileDescriptor receive(int control) {
    const ssize_t got = ::recvmsg(control, &message_, MSG_CMSG_CLOEXEC);
    if (got != sizeof error_) error_ = got < 0 && errno != ECONNRESET ? errno : ECONNABORTED;
    const cmsghdr* const header = got < 0 ? nullptr : CMSG_FIRSTHDR(&message_);
    int descriptor = -1;
    if (header != nullptr) std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    // A descriptor that this process has no room for does not arrive.
    errno = error_ == 0 && descriptor < 0 ? EMFILE : error_;
    return FileDescriptor(descriptor);
  }

 private:
  void attach(int descriptor) {
    cmsghdr* const header = CMSG_FIRSTHDR(&message_);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  }

  int error_ = 0;
  iovec part_{&error_, sizeof error_};
  alignas(cmsghdr) char space_[CMSG_SPACE(sizeof(int))] = {};
  msghdr message_{};
};

// The process: answers each byte with a connection, until its parent ends. It keeps none of its
// parent's descriptors open.
[[noreturn]] void serve(int control, const std::string& path) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::dup2(control, STDIN_FILENO);
  ::close_range(STDOUT_FILENO, ~0u, 0);
  for (char byte; ::recv(STDIN_FILENO, &byte, 1, 0) == 1;)
    Reply().send(STDIN_FILENO, aaa_sim::Listener::connect(path));
  ::_exit(0);
}

}  // namespace

Connector::Connector(const std::string& path) {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    throw std::system_error(errno, std::generic_category(), "socketpair");
  control_ = FileDescriptor(ends[0]);
  const FileDescriptor other(ends[1]);
  process_ = ::fork();
  if (process_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (process_ == 0) serve(other.get(), path);
}

Connector::~Connector() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

FileDescriptor Connector::connect() {
  if (::send(control_.get(), "", 1, MSG_NOSIGNAL) == 1) return Reply().receive(control_.get());
  if (errno == EPIPE || errno == ECONNRESET) errno = ECONNABORTED;
  return {};
}

}  // namespace aaa_dissect
