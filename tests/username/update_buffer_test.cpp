// The buffer that a local user is written into: its size, and what does not fit.
#include "support/failing_allocator.h"
#include "username/user_records.h"

namespace test {
namespace {

class UpdateBuffer : public UserRecordTest {
 protected:
  // The body without the six numbers of 72 bytes that stand first.
  std::string sent_passwords() {
    EXPECT_EQ(0, update());
    return only_write().substr(16 + 72);
  }
  // What the library asks malloc() for first.
  std::size_t buffer_size() {
    std::size_t first = 0;
    script({.malloc = [&first](std::size_t size) -> std::optional<void*> {
      if (first == 0) first = size;
      return std::nullopt;
    }});
    update();
    return first;
  }
};

TEST_F(UpdateBuffer, HasRoomForEachPasswordAndBlockThatIsCounted) {
  EXPECT_EQ(1616u, buffer_size());
  record_.password_count = 3;
  EXPECT_EQ(1616u + 3 * 264, buffer_size());
  record_.block_count = 2;
  EXPECT_EQ(1616u + 3 * 264 + 2 * 8208, buffer_size());
}

TEST_F(UpdateBuffer, WithoutMemoryGivesMinus3AndALineWithSizeAndName) {
  set_name("alice");
  record_.password_count = 2;
  record_.block_count = 1;
  const FailMalloc failing(1);
  const OpenLog log;
  EXPECT_EQ(-3, update());
  log.expect_only("username_lib_update_user",
                  "Failed to AAA_ALLOC(10352) for iov of user 'alice'.\r\n");
  EXPECT_TRUE(writes().empty());
}

TEST_F(UpdateBuffer, CountsBeyondAllMemoryCountAsNoMemory) {
  // The sizes of the last two would wrap around to small ones.
  for (const auto& [passwords, blocks] : {std::pair{0xffffffffu, 0u},
                                          {0xffffffffu, 0xffffffffu},
                                          {0x20000000u, 0u},
                                          {0u, 0x10000000u}}) {
    record_.password_count = passwords;
    record_.block_count = blocks;
    EXPECT_EQ(-3, update()) << passwords << " passwords, " << blocks << " blocks";
  }
  EXPECT_TRUE(writes().empty());
}

TEST_F(UpdateBuffer, ANameWithoutNulEndsInTheLineWithItsField) {
  std::memset(record_.user_name, 'n', 65);
  std::memset(&record_.value_2, 'x', 4);
  const FailMalloc failing(1);
  const OpenLog log;
  EXPECT_EQ(-3, update());
  ASSERT_EQ(1u, log.lines().size());
  EXPECT_EQ(std::string::npos, log.lines()[0].text.find('x'));
}

TEST_F(UpdateBuffer, PasswordsBeyondTheCountAreLeftOutWhenTheRoomIsUsed) {
  for (int i = 0; i < 8; ++i)
    add_password(std::string(247, static_cast<char>('a' + i)));
  record_.password_count = 0;
  std::string expected;
  for (int i = 0; i < 6; ++i)
    expected += item(6, std::string(247, static_cast<char>('a' + i)));
  EXPECT_EQ(expected, sent_passwords());
}

TEST_F(UpdateBuffer, AfterAnItemThatDoesNotFitTheNextIsTried) {
  std::string expected;
  for (int i = 0; i < 6; ++i) {
    add_password(std::string(247, 'p'));
    expected += item(6, std::string(247, 'p'));
  }
  // 1616 - 72 - 6 * 255 = 14 bytes are left: one too few, then exactly enough, then none.
  add_password("seven77");
  add_password("sixsix");
  add_password("x");
  record_.password_count = 0;
  EXPECT_EQ(expected + item(6, "sixsix"), sent_passwords());
  EXPECT_EQ(1616u, word_at(only_write(), 12));
}

TEST_F(UpdateBuffer, EveryCountedPasswordFits) {
  std::string expected;
  for (int i = 0; i < 100; ++i) {
    add_password(std::string(247, 'p'));
    expected += item(6, std::string(247, 'p'));
  }
  EXPECT_EQ(expected, sent_passwords());
}

}  // namespace
}  // namespace test
