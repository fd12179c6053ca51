// The password list of a fetched local user, and its release.
#include "support/locked_state.h"
#include "username/user_records.h"

namespace test {
namespace {

class FetchedPasswords : public UserRecordTest {
 protected:
  std::vector<std::string> passwords() { return passwords_of(record_); }

  // Only the `number`-th password finds memory wanting.
  static Scripts memory_fails_for_password(int number) {
    return {
        .malloc = [left = std::make_shared<int>(number)](std::size_t size) -> std::optional<void*> {
          if (size != sizeof(local_user_password) || --*left != 0) return std::nullopt;
          return nullptr;
        }};
  }

  using Texts = std::vector<std::string>;
};

TEST_F(FetchedPasswords, StandInTheReverseOfTheirOrderOnTheWireAndAreWrittenBackInThat) {
  const std::string items = item(6, "A") + item(6, "B") + item(6, "C");
  EXPECT_EQ(0, fetch(items));
  EXPECT_EQ((Texts{"C", "B", "A"}), passwords());
  EXPECT_EQ(3u, record_.password_count);
  EXPECT_EQ(0, update());
  EXPECT_EQ(items, writes().back().substr(writes().back().size() - 27));
}

TEST_F(FetchedPasswords, AreCutTo255Characters) {
  EXPECT_EQ(0, fetch(item(6, std::string(255, 'p')) + item(6, std::string(256, 'q')) +
                     item(6, std::string(1000, 'r'))));
  EXPECT_EQ((Texts{std::string(255, 'r'), std::string(255, 'q'), std::string(255, 'p')}),
            passwords());
}

TEST_F(FetchedPasswords, MayBeEmpty) {
  EXPECT_EQ(0, fetch(item(6, "") + number_item(2, 7)));
  EXPECT_EQ(Texts{""}, passwords());
  EXPECT_EQ(7u, record_.value_2);
}

TEST_F(FetchedPasswords, APasswordWithoutMemoryIsLeftOutAndLogged) {
  script(memory_fails_for_password(2));
  const OpenLog log;
  EXPECT_EQ(
      0, fetch(item(1, "alice") + item(6, "A") + item(6, "B") + item(6, "C") + number_item(2, 7)));
  log.expect("username_lib_copy_user", "Failed to malloc mem for password of user alice\n\r\n");
  EXPECT_EQ((Texts{"C", "A"}), passwords());
  EXPECT_EQ(2u, record_.password_count);
  EXPECT_EQ(7u, record_.value_2);
}

TEST_F(FetchedPasswords, TheLineOfAPasswordWithoutMemoryNeedsTheGate) {
  script(memory_fails_for_password(1));
  const LogCapture log;
  EXPECT_EQ(0, fetch(item(6, "A")));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(FetchedPasswords, AFetchForgetsTheListOfTheRecord) {
  fetch(item(6, "A") + item(6, "B"));
  local_user_info first = record_;
  // The nodes keep pointing to the record's head: the first copy takes it over.
  first.passwords.next->prev = &first.passwords;
  first.passwords.prev->next = &first.passwords;
  fetch(item(6, "C"));
  EXPECT_EQ(Texts{"C"}, passwords());
  EXPECT_EQ((Texts{"B", "A"}), passwords_of(first));
  first.blocks = {&first.blocks, &first.blocks};
  username_lib_release_user(&first);
}

TEST_F(FetchedPasswords, ReleaseFreesEveryPasswordAndBlockAndLeavesEmptyListsAndTheCounts) {
  const std::uint32_t before = live_blocks();
  fetch(item(6, "A") + item(6, "B"));
  for (int i = 0; i < 3; ++i)
    add_block();
  EXPECT_EQ(before + 5, live_blocks());
  username_lib_release_user(&record_);
  EXPECT_EQ(before, live_blocks());
  EXPECT_TRUE(is_empty(record_.passwords));
  EXPECT_TRUE(is_empty(record_.blocks));
  EXPECT_EQ(2u, record_.password_count);
  EXPECT_EQ(3u, record_.block_count);
}

TEST_F(FetchedPasswords, ReleaseTouchesNothingElse) {
  fetch(item(1, "alice") + number_item(20, 7) + number_item(9, 1));
  aaa_list third, fourth;
  record_.list_3 = {&third, &third};
  record_.list_4 = {&fourth, &fourth};
  const std::string before = bytes_of(record_);
  username_lib_release_user(&record_);
  EXPECT_EQ(before, bytes_of(record_));
}

TEST_F(FetchedPasswords, ReleaseNeedsNoRegistrationAndMayComeTwice) {
  fetch(item(6, "A"));
  set_reg_state(AAA_REG_NOT_REGISTERED);
  username_lib_release_user(&record_);
  EXPECT_TRUE(is_empty(record_.passwords));
  username_lib_release_user(&record_);
  username_lib_release_user(nullptr);
  EXPECT_TRUE(is_empty(record_.passwords));
}

TEST_F(FetchedPasswords, AZeroedRecordHasNothingToRelease) {
  local_user_info zeroed = {};
  username_lib_release_user(&zeroed);
  EXPECT_TRUE(is_empty(zeroed.passwords));
  EXPECT_TRUE(is_empty(zeroed.blocks));
}

}  // namespace
}  // namespace test
