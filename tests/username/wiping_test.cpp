// What may hold a password is wiped before its memory is given back, and no more than that.
#include <cstdlib>

#include "support/failing_allocator.h"
#include "username/user_records.h"

namespace test {
namespace {

class UserWiping : public UserRecordTest {
 protected:
  FreedBlocks freed_;
};

TEST_F(UserWiping, APasswordIsWipedBeforeItIsFreed) {
  fetch(item(6, std::string(255, 'p')) + item(6, "short"));
  const void* const last = password_at(record_.passwords.next);
  const void* const first = password_at(record_.passwords.prev);
  freed_.watch(last, sizeof(local_user_password));
  freed_.watch(first, sizeof(local_user_password));
  username_lib_release_user(&record_);
  EXPECT_EQ(std::string(sizeof(local_user_password), '\0'), freed_.bytes(first));
  EXPECT_EQ(std::string(sizeof(local_user_password), '\0'), freed_.bytes(last));
}

TEST_F(UserWiping, ABlockIsWipedBeforeItIsFreed) {
  add_block();
  auto* const block = reinterpret_cast<local_user_block*>(
      reinterpret_cast<char*>(record_.blocks.next) - offsetof(local_user_block, links));
  std::memset(block->data, 0x5A, sizeof block->data);
  freed_.watch(block, sizeof *block);
  username_lib_release_user(&record_);
  EXPECT_EQ(std::string(sizeof(local_user_block), '\0'), freed_.bytes(block));
}

// A block of the C library, filled with 0xAA.
void* filled_block(std::size_t size) {
  void* const block = std::aligned_alloc(16, (size + 15) / 16 * 16);
  return block == nullptr ? nullptr : std::memset(block, 0xAA, size);
}

TEST_F(UserWiping, OfAnUpdatesBufferWhatWasWrittenIsWiped) {
  add_password("secret");
  record_.block_count = 100;
  const std::size_t size = 1616 + 264 + 100 * 8208;
  const void* buffer = nullptr;
  script({.malloc = [&](std::size_t asked) -> std::optional<void*> {
    if (asked != size) return std::nullopt;
    void* const block = filled_block(size);
    buffer = block;
    freed_.watch(block, size);
    return block;
  }});
  EXPECT_EQ(0, update());
  const std::size_t written = word_at(only_write(), 12);
  EXPECT_EQ(86u, written) << "six numbers and the password";
  const std::string bytes = freed_.bytes(buffer);
  ASSERT_EQ(size, bytes.size());
  EXPECT_EQ(std::string(written, '\0'), bytes.substr(0, written));
  EXPECT_EQ(std::string::npos, bytes.find_first_not_of('\xAA', written)) << "beyond it";
  record_.block_count = 0;
}

}  // namespace
}  // namespace test
