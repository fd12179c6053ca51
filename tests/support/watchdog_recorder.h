// The test program's own process-health watchdog: it notes every call and fails on demand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test {

struct WatchdogCall {
  std::string name;  // "reg", "reset" or "unreg"
  std::int32_t pid;  // 0 for "unreg"
  std::int32_t tid;
  std::uint32_t interval;
  std::uint32_t tolerance;
};

class WatchdogRecorder {
 public:
  // Forgets earlier calls. While it lives, what fail_with() said holds.
  WatchdogRecorder();
  ~WatchdogRecorder();
  WatchdogRecorder(const WatchdogRecorder&) = delete;
  WatchdogRecorder& operator=(const WatchdogRecorder&) = delete;

  std::vector<WatchdogCall> calls() const;
  std::size_t count(const std::string& name) const;

  // What calls return from now on. A negative result sets errno to `error`.
  void answer(std::int32_t result, int error = 0);
};

}  // namespace test
