// A descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace aaa_sim {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return fd_; }
  bool is_open() const { return fd_ >= 0; }
  void reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

// `fd`, or a std::system_error with errno and `what` when it is negative.
FileDescriptor checked(int fd, const char* what);

}  // namespace aaa_sim
