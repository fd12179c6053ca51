#include "support/watchdog_recorder.h"

#include <cerrno>
#include <mutex>

#include "ham_client.h"

namespace test {
namespace {

struct Watchdog {
  std::mutex lock;
  std::vector<WatchdogCall> calls;
  std::int32_t result = 0;
  int error = 0;
};

Watchdog& watchdog() {
  static Watchdog* const instance = new Watchdog;  // outlives every thread of the library
  return *instance;
}

std::int32_t note(WatchdogCall call) {
  const std::lock_guard<std::mutex> hold(watchdog().lock);
  watchdog().calls.push_back(std::move(call));
  if (watchdog().result < 0) errno = watchdog().error;
  return watchdog().result;
}

}  // namespace

WatchdogRecorder::WatchdogRecorder() {
  const std::lock_guard<std::mutex> hold(watchdog().lock);
  watchdog().calls.clear();
}

WatchdogRecorder::~WatchdogRecorder() {
  answer(0);
}

std::vector<WatchdogCall> WatchdogRecorder::calls() const {
  const std::lock_guard<std::mutex> hold(watchdog().lock);
  return watchdog().calls;
}

std::size_t WatchdogRecorder::count(const std::string& name) const {
  std::size_t matches = 0;
  for (const WatchdogCall& call : calls())
    matches += call.name == name ? 1 : 0;
  return matches;
}

void WatchdogRecorder::answer(std::int32_t result, int error) {
  const std::lock_guard<std::mutex> hold(watchdog().lock);
  watchdog().result = result;
  watchdog().error = error;
}

}  // namespace test

std::int32_t ham_client_reg_thread_notify(std::int32_t pid, std::int32_t tid,
                                          std::uint32_t interval, std::uint32_t tolerance) {
  return test::note({"reg", pid, tid, interval, tolerance});
}

std::int32_t ham_client_reset_thread_notify(std::int32_t pid, std::int32_t tid,
                                            std::uint32_t interval, std::uint32_t tolerance) {
  return test::note({"reset", pid, tid, interval, tolerance});
}

std::int32_t ham_client_unreg_thread_notify(std::int32_t tid) {
  return test::note({"unreg", 0, tid, 0, 0});
}
