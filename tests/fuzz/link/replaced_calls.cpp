// The library's system calls. While a ScriptedAaad is at work on this thread it answers them; other
// calls, as of the fuzzer itself, go through. The program is linked with --wrap of each.
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "fuzz/link/scripted_aaad.h"
#include "ham_client.h"
#include "printk_syslog_ext.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"
#include "traffic/touch.h"

using fuzz::LocalPair;
using fuzz::ScriptedAaad;

namespace {

constexpr std::uint64_t kSecondUs = 1000000;

ScriptedAaad* aaad() {
  return ScriptedAaad::on_this_thread();
}

// The server socket is opened before the client's.
int open_of_pair() {
  static int opened = 0;
  traffic::require(opened < 2);
  return opened++ == 0 ? LocalPair::kServer : LocalPair::kClient;
}

int tell_time(timespec* now) {
  now->tv_sec = static_cast<time_t>(aaad()->now_us() / kSecondUs);
  now->tv_nsec = static_cast<long>(aaad()->now_us() % kSecondUs * 1000);
  return 0;
}

int tell_uptime(struct sysinfo* info) {
  info->uptime = static_cast<long>(aaad()->now_us() / kSecondUs);
  return 0;
}

int sleep_us(std::uint64_t us) {
  aaad()->pass(us);
  return 0;
}

// A flush thread is there in name only. The routine of the receive thread runs when the test says
// so, on the test's own thread.
int start_thread(pthread_t* thread, void* (*routine)(void*)) {
  const bool receives = routine == aaa::aaa_lib_thread;
  aaa::thread_has_ended(receives ? aaa::ThreadRole::receive : aaa::ThreadRole::flush);
  *thread = receives ? pthread_t{0} : pthread_self();
  return 0;
}

}  // namespace

#define REPLACED(result, name, parameters, arguments, answer)    \
  extern "C" result __real_##name parameters;                    \
  extern "C" result __wrap_##name parameters {                   \
    return aaad() == nullptr ? __real_##name arguments : answer; \
  }

REPLACED(int, socket, (int domain, int type, int protocol), (domain, type, protocol),
         (type & SOCK_DGRAM) == SOCK_DGRAM ? open_of_pair() : aaad()->socket())
REPLACED(int, bind, (int fd, const sockaddr* address, socklen_t length), (fd, address, length), 0)
REPLACED(int, connect, (int fd, const sockaddr* address, socklen_t length), (fd, address, length),
         aaad()->connect())
REPLACED(int, setsockopt, (int fd, int level, int option, const void* value, socklen_t length),
         (fd, level, option, value, length), 0)
REPLACED(int, shutdown, (int fd, int how), (fd, how), aaad()->shutdown(fd))
REPLACED(int, close, (int fd), (fd), aaad()->close(fd))
REPLACED(ssize_t, send, (int fd, const void* data, std::size_t size, int flags),
         (fd, data, size, flags), aaad()->send(fd, data, size))
REPLACED(ssize_t, recv, (int fd, void* data, std::size_t size, int flags), (fd, data, size, flags),
         aaad()->recv(fd, data, size))
REPLACED(int, poll, (pollfd * fds, nfds_t count, int timeout_ms), (fds, count, timeout_ms),
         aaad()->poll(*fds, timeout_ms))
REPLACED(int, unlink, (const char* path), (path), 0)
REPLACED(int, mkdir, (const char* path, mode_t mode), (path, mode), 0)
REPLACED(int, chmod, (const char* path, mode_t mode), (path, mode), 0)
REPLACED(int, clock_gettime, (clockid_t clock, timespec* now), (clock, now), tell_time(now))
REPLACED(int, sysinfo, (struct sysinfo * info), (info), tell_uptime(info))
REPLACED(int, usleep, (useconds_t us), (us), sleep_us(us))
REPLACED(unsigned, sleep, (unsigned seconds), (seconds),
         static_cast<unsigned>(sleep_us(seconds* kSecondUs)))
REPLACED(int, pthread_create,
         (pthread_t * thread, const pthread_attr_t* attributes, void* (*routine)(void*),
          void* argument),
         (thread, attributes, routine, argument), start_thread(thread, routine))
REPLACED(int, pthread_cancel, (pthread_t thread), (thread), 0)

#undef REPLACED

void printk_syslog_ext(int, const char*, const char*, int, const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  traffic::require(length > 0);
  if (aaad() != nullptr) aaad()->when_logging(text);
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
