// A scope in which the library leaves a block behind on purpose. Where a leak checker is linked in,
// it overlooks what this thread allocates meanwhile.
#pragma once

extern "C" {
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

namespace test {

class IntendedLeak {
 public:
  IntendedLeak() {
    if (__lsan_disable != nullptr) __lsan_disable();
  }
  ~IntendedLeak() {
    if (__lsan_enable != nullptr) __lsan_enable();
  }
  IntendedLeak(const IntendedLeak&) = delete;
  IntendedLeak& operator=(const IntendedLeak&) = delete;
};

}  // namespace test
