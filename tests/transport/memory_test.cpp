// Counted heap blocks.
#include "transport/base/memory.h"

#include <cstring>
#include <thread>
#include <vector>

#include "support/library_test.h"
#include "support/scripted_calls.h"

namespace {

class Memory : public test::LibraryTest {
 protected:
  std::uint32_t taken() const { return g_aaa_malloc_times - taken_before_; }
  std::uint32_t failed() const { return g_aaa_malloc_fail_times - failed_before_; }
  std::uint32_t freed() const { return g_aaa_free_times - freed_before_; }

 private:
  std::uint32_t taken_before_ = g_aaa_malloc_times;
  std::uint32_t failed_before_ = g_aaa_malloc_fail_times;
  std::uint32_t freed_before_ = g_aaa_free_times;
};

TEST_F(Memory, ABlockIsCountedWhenTakenAndWhenFreed) {
  void* const block = aaa_malloc(1, "test", 10);
  ASSERT_NE(nullptr, block);
  EXPECT_EQ(1u, taken());
  EXPECT_EQ(0u, freed());
  std::memset(block, 0xFF, 10);
  aaa_free(1, "test", block);
  EXPECT_EQ(1u, taken());
  EXPECT_EQ(1u, freed());
  EXPECT_EQ(0u, failed());
}

TEST_F(Memory, ASizeOfZeroGivesNullAndCountsNothing) {
  EXPECT_EQ(nullptr, aaa_malloc(1, "test", 0));
  EXPECT_EQ(0u, taken());
  EXPECT_EQ(0u, failed());
  EXPECT_EQ(0u, freed());
}

TEST_F(Memory, AFailureIsCountedAsAFailureOnly) {
  const test::ScriptedCalls calls({.malloc = [](std::size_t) { return nullptr; }});
  EXPECT_EQ(nullptr, aaa_malloc(1, "test", 10));
  EXPECT_EQ(0u, taken());
  EXPECT_EQ(1u, failed());
}

TEST_F(Memory, ASizeOfZeroIsNoFailureEvenWithoutMemory) {
  const test::ScriptedCalls calls({.malloc = [](std::size_t) { return nullptr; }});
  EXPECT_EQ(nullptr, aaa_malloc(1, "test", 0));
  EXPECT_EQ(0u, failed());
}

TEST_F(Memory, FreeingNullCountsNothing) {
  aaa_free(1, "test", nullptr);
  EXPECT_EQ(0u, freed());
}

TEST_F(Memory, TheFunctionNameIsNotUsed) {
  aaa_free(0, nullptr, aaa_malloc(0, nullptr, 1));
  EXPECT_EQ(1u, freed());
}

TEST_F(Memory, CountsAreExactWithManyThreads) {
  constexpr std::uint32_t rounds = 5000;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([] {
      for (std::uint32_t n = 0; n < rounds; ++n)
        aaa_free(1, "test", aaa_malloc(1, "test", 8));
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(4 * rounds, taken());
  EXPECT_EQ(4 * rounds, freed());
}

TEST_F(Memory, WipingLeavesZerosInThatManyBytes) {
  char bytes[] = "secret!";
  aaa::wipe(bytes, 6);
  EXPECT_EQ(std::string("\0\0\0\0\0\0!", 7), std::string(bytes, 7));
}

TEST_F(Memory, AWipedBlockIsFreedAndNullIsIgnored) {
  aaa::wipe_and_free(aaa_malloc(1, "test", 8), 8);
  aaa::wipe_and_free(nullptr, 8);
  EXPECT_EQ(1u, freed());
}

}  // namespace
