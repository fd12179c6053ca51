#include "support/leak_check.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "runtime/send/local_delivery.h"
#include "support/eventually.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"

namespace test {
namespace {

// ThreadSanitizer starts a thread of its own with the first one of the program, and keeps it.
[[maybe_unused]] const bool first_thread_was_started = [] {
  std::thread([] {}).join();
  return true;
}();

std::size_t entries(const char* directory) {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory))
    ++count;
  return count;
}

}  // namespace

std::size_t open_descriptors() {
  return entries("/proc/self/fd") - (aaa::load(aaa::g_msg_socket_ok) != 0 ? 2 : 0);
}

std::size_t thread_count() {
  return entries("/proc/self/task");
}

LeakCheck::LeakCheck()
    : blocks_(live_blocks()), descriptors_(open_descriptors()), threads_(thread_count()) {}

void LeakCheck::expect_nothing_left(std::uint32_t expected_blocks) const {
  // Fewer, where a thread that had ended before still stood in the list.
  EXPECT_TRUE(eventually([&] { return thread_count() <= threads_; }))
      << "threads: " << threads_ << " before, " << thread_count() << " after";
  EXPECT_TRUE(eventually([&] { return live_blocks() == blocks_ + expected_blocks; }))
      << "blocks: " << blocks_ << " before, " << live_blocks() << " after, " << expected_blocks
      << " more expected";
  EXPECT_TRUE(eventually([&] { return open_descriptors() == descriptors_; }))
      << "descriptors: " << descriptors_ << " before, " << open_descriptors() << " after";
}

}  // namespace test
