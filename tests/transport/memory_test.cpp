// Counted heap blocks.
#include "transport/base/memory.h"

#include "support/library_test.h"

namespace test::memory {

class Memory : public LibraryTest {
 protected:
  // How the counters of allocations, failures and releases have grown.
  void expect_counts(std::uint32_t allocated, std::uint32_t failed, std::uint32_t freed) const {
    EXPECT_EQ(allocated, counters_.blocks_allocated());
    EXPECT_EQ(failed, counters_.blocks_failed());
    EXPECT_EQ(freed, counters_.blocks_freed());
  }

 private:
  LibraryCounters counters_;
};

TEST_F(Memory, ABlockIsCountedWhenTakenAndWhenFreed) {
  void* const block = aaa_malloc(1, "test", 10);
  ASSERT_NE(nullptr, block);
  expect_counts(1, 0, 0);
  std::memset(block, 0xFF, 10);
  aaa_free(1, "test", block);
  expect_counts(1, 0, 1);
}

TEST_F(Memory, ASizeOfZeroGivesNullAndCountsNothingEvenWithoutMemory) {
  EXPECT_EQ(nullptr, aaa_malloc(1, "test", 0));
  const ScriptedCalls calls(no_memory());
  EXPECT_EQ(nullptr, aaa_malloc(1, "test", 0));
  expect_counts(0, 0, 0);
}

TEST_F(Memory, AFailureIsCountedAsAFailureOnly) {
  const ScriptedCalls calls(no_memory());
  EXPECT_EQ(nullptr, aaa_malloc(1, "test", 10));
  expect_counts(0, 1, 0);
}

TEST_F(Memory, FreeingNullCountsNothing) {
  aaa_free(1, "test", nullptr);
  aaa::wipe_and_free(nullptr, 8);
  expect_counts(0, 0, 0);
}

TEST_F(Memory, TheFunctionNameIsNotUsed) {
  aaa_free(0, nullptr, aaa_malloc(0, nullptr, 1));
  expect_counts(1, 0, 1);
}

TEST_F(Memory, CountsAreExactWithManyThreads) {
  on_threads(4, [](std::uint32_t) {
    for (int n = 0; n < 5000; ++n)
      aaa_free(1, "test", aaa_malloc(1, "test", 8));
  });
  expect_counts(20000, 0, 20000);
}

TEST_F(Memory, WipingLeavesZerosInThatManyBytes) {
  char bytes[] = "secret!";
  aaa::wipe(bytes, 6);
  EXPECT_EQ(std::string("\0\0\0\0\0\0!", 7), std::string(bytes, 7));
}

TEST_F(Memory, AWipedBlockIsFreed) {
  aaa::wipe_and_free(aaa_malloc(1, "test", 8), 8);
  expect_counts(1, 0, 1);
}

}  // namespace test::memory
