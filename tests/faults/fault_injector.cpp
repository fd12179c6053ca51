#include "faults/fault_injector.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "aaa_client.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/local_delivery.h"
#include "runtime/send/send_buffer.h"
#include "support/eventually.h"
#include "support/registered_test.h"
#include "transport/base/atomic_word.h"
#include "transport/base/cancellation.h"

namespace faults {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds patience_afterwards{40};
constexpr milliseconds patience_after_one_fault{40};
constexpr milliseconds patience_when_nothing_works{10};
constexpr timeval socket_timeout = {.tv_sec = 0, .tv_usec = 4000};
constexpr timeval flush_period = {.tv_sec = 0, .tv_usec = 1000};
constexpr std::int64_t socket_timeout_seconds = 2;  // for the library
constexpr std::size_t session_id_offset = 576;      // in an encoded result

bool is_datagram_socket(int fd) {
  return fd == aaa::load(lib_msg_server_fd) || fd == aaa::load(lib_msg_client_fd);
}

// A datagram is not read in parts, and nobody waits in the call that reads it. Another thread may
// have taken it, but not for ever.
bool can_happen_to_datagrams(const Fault& fault) {
  return fault.error != short_count && fault.error != EINTR &&
         (fault.error != EAGAIN || fault.once);
}

// What the library finds on the request socket before a request it throws away byte by byte, each
// after a look whether there is one.
thread_local bool has_just_polled = false;

bool is_drain(std::size_t size) {
  return std::exchange(has_just_polled, false) && size == 1;
}

const char* thread_here() {
  if (aaa::is_receive_thread()) return "receive thread";
  return pthread_equal(aaa::load(g_send_buf_tid), pthread_self()) != 0 ? "flush thread"
                                                                       : "client's thread";
}

}  // namespace

FaultInjector::FaultInjector(const Fault& fault) : fault_(fault), calls_(scripts()) {
  clock_.shorten_sleeps();
}

std::chrono::milliseconds FaultInjector::patience() const {
  if (!has_done_harm()) return test::kPatience;
  if (lifted_) return patience_afterwards;
  return fault_.once ? patience_after_one_fault : patience_when_nothing_works;
}

std::string FaultInjector::place() const {
  const std::lock_guard hold(lock_);
  return place_;
}

test::Scripts FaultInjector::scripts() {
  return {
      .send = [this](int fd, const void* data, std::size_t size,
                     int flags) { return send(fd, data, size, flags); },
      .recv = [this](int fd, void* data, std::size_t size,
                     int flags) { return recv(fd, data, size, flags); },
      .socket = [this](int, int) { return fail("socket"); },
      .bind = [this](int, const sockaddr*, unsigned) { return fail("bind"); },
      .connect = [this](int, const sockaddr*, unsigned) { return fail("connect"); },
      .setsockopt = [this](int fd, int level, int option) { return setsockopt(fd, level, option); },
      .poll = [this](int fd, int timeout_ms) { return poll(fd, timeout_ms); },
      .select = [this](timeval& timeout) { return select(timeout); },
      .pthread_create = [this] { return fail_with_number("pthread_create"); },
      .pthread_attr_init = [this] { return fail_with_number("pthread_attr_init"); },
      .pthread_mutexattr_init = [this] { return fail_with_number("pthread_mutexattr_init"); },
      .pthread_mutex_init =
          [this](pthread_mutex_t*) { return fail_with_number("pthread_mutex_init"); },
      .mkdir = [this] { return file_call("mkdir"); },
      .chmod = [this] { return file_call("chmod"); },
      .open = [this] { return file_call("open"); },
      .read = [this] { return file_call("read"); },
      .malloc = [this](std::size_t) { return malloc(); },
  };
}

bool FaultInjector::strikes(std::string_view call) {
  if (call != fault_.call || lifted_) return false;
  const unsigned number = ++count_;
  if (fault_.once ? number != fault_.number : number < fault_.number) return false;
  if (number == fault_.number) note_place();
  happened_ = true;
  if (fault_.error != short_count) clock_.advance(1);
  return true;
}

void FaultInjector::note_place() {
  const std::lock_guard hold(lock_);
  place_ = std::string(step_) + ", " + thread_here();
}

std::optional<int> FaultInjector::fail(std::string_view call) {
  if (!strikes(call)) return std::nullopt;
  return test::fails(fault_.error);
}

std::optional<int> FaultInjector::fail_with_number(std::string_view call) {
  return strikes(call) ? std::optional(fault_.error) : std::nullopt;
}

std::optional<int> FaultInjector::file_call(std::string_view call) {
  if (!strikes(call)) return std::nullopt;
  return fault_.error == end_of_stream ? 0 : test::fails(fault_.error);
}

std::optional<ssize_t> FaultInjector::send(int fd, const void* data, std::size_t size, int flags) {
  if (fault_.error == short_count && is_datagram_socket(fd)) return std::nullopt;
  if (!strikes("send")) return std::nullopt;
  if (fault_.error != short_count) return test::fails(fault_.error);
  const test::UnscriptedCalls scope;
  return ::send(fd, data, (size + 1) / 2, flags);
}

std::optional<ssize_t> FaultInjector::recv(int fd, void* data, std::size_t size, int flags) {
  const bool is_certain = !is_drain(size) && (flags & MSG_DONTWAIT) == 0;
  const bool is_exempt = is_datagram_socket(fd) && !can_happen_to_datagrams(fault_);
  if (is_exempt || !strikes("recv")) return patient_recv(fd, data, size, flags, is_certain);
  if (fault_.error == short_count) return patient_recv(fd, data, 1, flags, is_certain);
  return fault_.error == end_of_stream ? 0 : test::fails(fault_.error);
}

// The sockets give up sooner than the library asks for. What is certain to come is waited for; for
// the rest the library's time goes on.
ssize_t FaultInjector::patient_recv(int fd, void* data, std::size_t size, int flags,
                                    bool is_certain) {
  const test::UnscriptedCalls scope;
  const aaa::CancellationScope uncancelled(PTHREAD_CANCEL_DISABLE);
  ssize_t result = 0;
  do {
    result = ::recv(fd, data, size, flags);
  } while (result < 0 && errno == EAGAIN && is_certain && !has_done_harm());
  const int error = errno;
  if (result == 0 || (result < 0 && error == EAGAIN)) clock_.advance(socket_timeout_seconds);
  if (fd == aaa::load(lib_msg_server_fd)) note_datagram(data, result);
  errno = error;
  return result;
}

void FaultInjector::note_datagram(const void* data, ssize_t size) {
  std::uint32_t session_id = 0;
  if (size < static_cast<ssize_t>(session_id_offset + sizeof session_id)) return;
  std::memcpy(&session_id, static_cast<const char*>(data) + session_id_offset, sizeof session_id);
  if (session_id == aaa::load(aaa::g_temp_sid)) return;
  ++dropped_results_;
  decodes_foreign_result_ = true;
}

std::optional<int> FaultInjector::setsockopt(int fd, int level, int option) {
  if (strikes("setsockopt")) return test::fails(fault_.error);
  const test::UnscriptedCalls scope;
  return ::setsockopt(fd, level, option, &socket_timeout, sizeof socket_timeout);
}

std::optional<int> FaultInjector::poll(int fd, int timeout_ms) {
  has_just_polled = true;
  const bool waits_for_result = fd == aaa::load(lib_msg_server_fd);
  if (waits_for_result) decodes_foreign_result_ = false;
  if (strikes("poll")) {
    if (!fault_.once) test::pause_in_script();
    return test::fails(fault_.error);
  }
  if (!waits_for_result) return std::nullopt;
  const test::UnscriptedCalls scope;
  const auto start = steady_clock::now();
  pollfd watched = {.fd = fd, .events = POLLIN, .revents = 0};
  int ready = 0;
  do {
    ready = ::poll(&watched, 1, 10);
  } while (ready == 0 && steady_clock::now() - start < patience());
  if (ready == 0) clock_.advance(timeout_ms / 1000);
  return ready;
}

std::optional<int> FaultInjector::select(timeval& timeout) {
  timeout = flush_period;
  if (!strikes("select")) return std::nullopt;
  if (!fault_.once) test::pause_in_script();
  return test::fails(fault_.error);
}

std::optional<void*> FaultInjector::malloc() {
  if (!strikes("malloc")) return std::nullopt;
  // A record that cannot be decoded does not stay.
  if (!aaa::is_receive_thread() && std::exchange(decodes_foreign_result_, false)) {
    --dropped_results_;
  }
  errno = fault_.error;
  return nullptr;
}

}  // namespace faults
