// The library's system calls. While a PlayedAaad is at work on this thread it answers them; other
// calls, as of the fuzzer itself, go through.
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "fuzz/link/played_aaad.h"
#include "fuzz/touch.h"
#include "ham_client.h"
#include "printk_syslog_ext.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"

using fuzz::LocalPair;
using fuzz::PlayedAaad;

namespace {

constexpr std::uint64_t kSecondUs = 1000000;

PlayedAaad* aaad() {
  return PlayedAaad::on_this_thread();
}

// The server socket is opened before the client's.
int open_of_pair() {
  static int opened = 0;
  fuzz::require(opened < 2);
  return opened++ == 0 ? LocalPair::kServer : LocalPair::kClient;
}

}  // namespace

extern "C" {

int __real_socket(int domain, int type, int protocol);
int __real_bind(int fd, const sockaddr* address, socklen_t length);
int __real_connect(int fd, const sockaddr* address, socklen_t length);
int __real_setsockopt(int fd, int level, int option, const void* value, socklen_t length);
int __real_shutdown(int fd, int how);
int __real_close(int fd);
ssize_t __real_send(int fd, const void* data, std::size_t size, int flags);
ssize_t __real_recv(int fd, void* data, std::size_t size, int flags);
int __real_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __real_unlink(const char* path);
int __real_mkdir(const char* path, mode_t mode);
int __real_chmod(const char* path, mode_t mode);
int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_sysinfo(struct sysinfo* info);
int __real_usleep(useconds_t us);
unsigned __real_sleep(unsigned seconds);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument);
int __real_pthread_cancel(pthread_t thread);

int __wrap_socket(int domain, int type, int protocol) {
  if (aaad() == nullptr) return __real_socket(domain, type, protocol);
  return (type & SOCK_DGRAM) == SOCK_DGRAM ? open_of_pair() : aaad()->socket();
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t length) {
  return aaad() == nullptr ? __real_bind(fd, address, length) : 0;
}

int __wrap_connect(int fd, const sockaddr* address, socklen_t length) {
  return aaad() == nullptr ? __real_connect(fd, address, length) : 0;
}

int __wrap_setsockopt(int fd, int level, int option, const void* value, socklen_t length) {
  return aaad() == nullptr ? __real_setsockopt(fd, level, option, value, length) : 0;
}

int __wrap_shutdown(int fd, int how) {
  return aaad() == nullptr ? __real_shutdown(fd, how) : aaad()->shutdown(fd);
}

int __wrap_close(int fd) {
  return aaad() == nullptr ? __real_close(fd) : aaad()->close(fd);
}

ssize_t __wrap_send(int fd, const void* data, std::size_t size, int flags) {
  return aaad() == nullptr ? __real_send(fd, data, size, flags) : aaad()->send(fd, data, size);
}

ssize_t __wrap_recv(int fd, void* data, std::size_t size, int flags) {
  return aaad() == nullptr ? __real_recv(fd, data, size, flags) : aaad()->recv(fd, data, size);
}

int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms) {
  return aaad() == nullptr ? __real_poll(fds, count, timeout_ms) : aaad()->poll(*fds, timeout_ms);
}

int __wrap_unlink(const char* path) {
  return aaad() == nullptr ? __real_unlink(path) : 0;
}

int __wrap_mkdir(const char* path, mode_t mode) {
  return aaad() == nullptr ? __real_mkdir(path, mode) : 0;
}

int __wrap_chmod(const char* path, mode_t mode) {
  return aaad() == nullptr ? __real_chmod(path, mode) : 0;
}

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  if (aaad() == nullptr) return __real_clock_gettime(clock, now);
  now->tv_sec = static_cast<time_t>(aaad()->now_us() / kSecondUs);
  now->tv_nsec = static_cast<long>(aaad()->now_us() % kSecondUs * 1000);
  return 0;
}

int __wrap_sysinfo(struct sysinfo* info) {
  if (aaad() == nullptr) return __real_sysinfo(info);
  info->uptime = static_cast<long>(aaad()->now_us() / kSecondUs);
  return 0;
}

int __wrap_usleep(useconds_t us) {
  if (aaad() == nullptr) return __real_usleep(us);
  aaad()->pass(us);
  return 0;
}

unsigned __wrap_sleep(unsigned seconds) {
  if (aaad() == nullptr) return __real_sleep(seconds);
  aaad()->pass(seconds * kSecondUs);
  return 0;
}

// The receive thread that the library starts is the thread that started it; a flush thread is there
// in name only.
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument) {
  if (aaad() == nullptr) return __real_pthread_create(thread, attributes, routine, argument);
  if (routine != aaa::aaa_lib_thread) aaa::thread_has_ended(aaa::ThreadRole::flush);
  *thread = pthread_self();
  return 0;
}

int __wrap_pthread_cancel(pthread_t thread) {
  return aaad() == nullptr ? __real_pthread_cancel(thread) : 0;
}

}  // extern "C"

void printk_syslog_ext(int, const char*, const char*, int, const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  fuzz::require(length > 0);
}

std::int32_t ham_client_reg_thread_notify(std::int32_t, std::int32_t, std::uint32_t,
                                          std::uint32_t) {
  return 0;
}
std::int32_t ham_client_reset_thread_notify(std::int32_t, std::int32_t, std::uint32_t,
                                            std::uint32_t) {
  return 0;
}
std::int32_t ham_client_unreg_thread_notify(std::int32_t) {
  return 0;
}
