// Synchronising and restoring users.
#include "management/sample_records.h"
#include "support/open_log.h"
#include "support/own_stack.h"

namespace test {
namespace {

class Users : public LinkedTest {
 protected:
  const restore_user_info user_ = restorable_user();
};

TEST_F(Users, SynchronisingLogsWhatTheSendReturned) {
  const std::uint32_t words[3] = {5, 6, 7};
  const OpenLog log;
  EXPECT_EQ(0, aaa_user_syn(1, words));
  log.expect("aaa_user_syn", "send ipc msg return 0.\r\n");
  next_write_fails(EPIPE);
  EXPECT_EQ(-1, aaa_user_syn(1, words));
  log.expect("aaa_user_syn", "send ipc msg return 4.\r\n");
}

TEST_F(Users, AFlagPointerSetsTheWordAt344AndNoOther) {
  const std::uint32_t zero = 0;
  EXPECT_EQ(0, aaa_ha_user_syn(5, 0, &user_, &zero));
  EXPECT_EQ(std::string(Block(392).put(0, restored_block()).put_hex(344, "01000000")),
            only_write().substr(16));
}

TEST_F(Users, AHotBackupWithoutARecordIsZeros) {
  EXPECT_EQ(0, aaa_ha_user_syn(5, 0, nullptr, nullptr));
  EXPECT_EQ(std::string(392, '\0'), only_write().substr(16));
}

TEST_F(Users, NothingOfARestoredUserIsLeftOnTheStack) {
  restore_user_info user = user_;
  const std::string name(200, 'n');
  for (const bool hot_backup : {false, true}) {
    OwnStack stack;
    std::int32_t result = -1;
    // The first call may leave registers on the stack while the dynamic linker looks for functions.
    for (const char character : {'o', 'n'}) {
      std::memset(user.chars253_a, character, 200);
      stack.run([&] {
        result = hot_backup ? aaa_ha_user_syn(5, 0, &user, nullptr) : aaa_restore_user(&user, 1);
      });
      EXPECT_EQ(0, result);
    }
    EXPECT_EQ(name, writes().back().substr(16 + 16, 200));
    EXPECT_FALSE(stack.holds(name.substr(0, 8))) << (hot_backup ? "hot backup" : "restore");
  }
}

}  // namespace
}  // namespace test
