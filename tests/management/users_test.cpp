// Deleting, synchronising and restoring users.
#include "management/sample_records.h"
#include "session/state/client_state.h"
#include "support/expected_line.h"
#include "support/library_counters.h"
#include "support/own_stack.h"

namespace {

using test::hex;
using test::LibraryCounters;

constexpr std::size_t kRestores = 20;
constexpr std::size_t kRestoreFailures = 21;

class Users : public test::LinkedTest {
 protected:
  const restore_user_info user_ = test::restorable_user();
  const std::uint32_t words_[3] = {5, 6, 7};
};

TEST_F(Users, ADeletionReturns0WhenTheSendFails) {
  next_write_fails(ECONNRESET);
  EXPECT_EQ(0, aaa_delete_user(1, 2));
  next_write_fails(ECONNRESET);
  EXPECT_EQ(0, aaa_move_out_delete_user(1, 2));
}

TEST_F(Users, DeletionAndMovingOutDifferInTheTypeOnly) {
  aaa_delete_user(0x01020304, 0x05060708);
  aaa_move_out_delete_user(0x01020304, 0x05060708);
  ASSERT_EQ(2u, writes().size());
  EXPECT_EQ(hex("01010101 04030201 08000000 08000000 04030201 08070605"), writes()[0]);
  EXPECT_EQ(hex("01010101 04030201 22000000 08000000 04030201 08070605"), writes()[1]);
}

TEST_F(Users, SynchronisingNullWordsGivesMinus22) {
  EXPECT_EQ(-22, aaa_user_syn(1, nullptr));
  EXPECT_TRUE(writes().empty());
}

TEST_F(Users, SynchronisingAsksForTheRegistrationFirst) {
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-1, aaa_user_syn(1, nullptr));
}

TEST_F(Users, SynchronisingLogsWhatTheSendReturned) {
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0, aaa_user_syn(1, words_));
  test::expect_line(log, "aaa_user_syn", "send ipc msg return 0.\r\n");
  next_write_fails(EPIPE);
  EXPECT_EQ(-1, aaa_user_syn(1, words_));
  test::expect_line(log, "aaa_user_syn", "send ipc msg return 4.\r\n");
}

TEST_F(Users, SynchronisingNothingLogsNothing) {
  const test::OpenGate gate;
  const test::LogCapture log;
  aaa_user_syn(1, nullptr);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(Users, AUserWithoutARecordIsNotRestored) {
  EXPECT_EQ(-1, aaa_restore_user(nullptr, 1));
  EXPECT_TRUE(writes().empty());
}

TEST_F(Users, AUserWithAZeroFlagIsNotRestored) {
  EXPECT_EQ(-1, aaa_restore_user(&user_, 0));
  EXPECT_TRUE(writes().empty());
}

TEST_F(Users, AnyOtherFlagRestores) {
  EXPECT_EQ(0, aaa_restore_user(&user_, 0x80000000));
  EXPECT_EQ(test::restored_block(), only_write().substr(16));
}

TEST_F(Users, RefusedRestoresCountAsCallsAndAsFailures) {
  const LibraryCounters counters;
  aaa_restore_user(nullptr, 1);
  aaa_restore_user(&user_, 0);
  EXPECT_EQ(2u, counters.grown(kRestores));
  EXPECT_EQ(2u, counters.grown(kRestoreFailures));
}

TEST_F(Users, RestoringAsksForTheRegistrationBeforeItCounts) {
  aaa::set_reg_state(AAA_REG_LOST);
  const LibraryCounters counters;
  EXPECT_EQ(-1, aaa_restore_user(nullptr, 0));
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(Users, AHotBackupGoesUnderTheIdGivenNotTheRecords) {
  EXPECT_EQ(0, aaa_ha_user_syn(5, 0x11223344, &user_, nullptr));
  EXPECT_EQ(hex("01010101 05000000 14000000 88010000 0d0c0b0a"), only_write().substr(0, 20));
}

TEST_F(Users, AFlagPointerSetsTheWordAt344AndNoOther) {
  const std::uint32_t zero = 0;
  EXPECT_EQ(0, aaa_ha_user_syn(5, 0, &user_, &zero));
  EXPECT_EQ(std::string(test::Block(392).put(0, test::restored_block()).put_hex(344, "01000000")),
            only_write().substr(16));
}

TEST_F(Users, WithoutAFlagPointerTheWordAt344Is0) {
  EXPECT_EQ(0, aaa_ha_user_syn(5, 0, &user_, nullptr));
  EXPECT_EQ(0u, test::word_at(only_write(), 16 + 344));
}

TEST_F(Users, AHotBackupWithoutARecordIsZeros) {
  EXPECT_EQ(0, aaa_ha_user_syn(5, 0, nullptr, nullptr));
  EXPECT_EQ(std::string(392, '\0'), only_write().substr(16));
}

TEST_F(Users, NothingOfARestoredUserIsLeftOnTheStack) {
  restore_user_info user = user_;
  const std::string name(200, 'n');
  const auto set_name = [&user](char character) { std::memset(user.chars253_a, character, 200); };
  for (const bool hot_backup : {false, true}) {
    test::OwnStack stack;
    std::int32_t result = -1;
    // The first call may leave registers on the stack while the dynamic linker looks for functions.
    for (const char character : {'o', 'n'}) {
      set_name(character);
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
