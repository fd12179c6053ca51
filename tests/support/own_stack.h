// A stack that a test can look at after a call has returned.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

#include <cstddef>
#include <functional>
#include <string>

namespace test {

class OwnStack {
 public:
  OwnStack()
      : memory_(mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
  ~OwnStack() { munmap(memory_, kSize); }
  OwnStack(const OwnStack&) = delete;
  OwnStack& operator=(const OwnStack&) = delete;

  // Runs on this stack, on a thread of its own, and waits for its end. The action does nothing but
  // the call that the test is about: whatever follows overwrites what that has left.
  void run(std::function<void()> action) {
    ASSERT_NE(MAP_FAILED, memory_);
    action_ = std::move(action);
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstack(&attributes, memory_, kSize));
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, &attributes, run_and_keep, this));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    pthread_attr_destroy(&attributes);
  }

  // Whether the last action has left the bytes anywhere on it.
  bool holds(const std::string& bytes) const { return left_.find(bytes) != std::string::npos; }

 private:
  // ThreadSanitizer keeps most of a megabyte for itself at its upper end.
  static constexpr std::size_t kSize = 1 << 23;

  // What is left is kept before the thread ends, which gives the memory back. The action runs far
  // down, where keeping it overwrites nothing.
  static void* run_and_keep(void* self) {
    auto& stack = *static_cast<OwnStack*>(self);
    const char* const first = static_cast<const char*>(stack.memory_);
    far_down(stack.action_);
    stack.left_.assign(first, kSize * 3 / 4);
    return nullptr;
  }

  static void far_down(const std::function<void()>& action) {
    [[maybe_unused]] volatile char distance[kSize / 4];
    distance[0] = 0;
    action();
  }

  void* memory_;
  std::function<void()> action_;
  std::string left_;
};

}  // namespace test
