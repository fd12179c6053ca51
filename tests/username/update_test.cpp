// Writing a local user back: which items are sent, and in what order.
#include "username/user_records.h"

namespace test {
namespace {

const std::string kZeros5To13 = number_item(5, 0) + number_item(10, 0) + number_item(12, 0) +
                                number_item(20, 0) + number_item(13, 0);

class Update : public UserRecordTest {
 protected:
  std::string sent() {
    EXPECT_EQ(0, update());
    return writes().back().substr(16);
  }

  template <std::size_t Size>
  static void set(char (&field)[Size], const std::string& text) {
    ASSERT_LE(text.size(), Size);
    std::memset(field, 0, Size);
    text.copy(field, Size);
  }
};

TEST_F(Update, WritesEveryFieldInItsOrder) {
  set_name("al");
  set(record_.string_19, "19");
  record_.value_2 = 2;
  record_.value_5 = 5;
  record_.flag_7 = record_.flag_8 = record_.flag_9 = 1;
  record_.value_10 = 10;
  record_.value_12 = 12;
  record_.value_13 = 13;
  record_.value_20 = 20;
  add_password("pw");
  EXPECT_EQ(hex("01000000 0a000000 616c"
                "02000000 0c000000 02000000"
                "13000000 0a000000 3139"
                "05000000 0c000000 05000000"
                "07000000 0c000000 01000000"
                "08000000 0c000000 01000000"
                "09000000 0c000000 01000000"
                "0a000000 0c000000 0a000000"
                "0c000000 0c000000 0c000000"
                "14000000 0c000000 14000000"
                "0d000000 0c000000 0d000000"
                "06000000 0a000000 7077"),
            sent());
  EXPECT_EQ(hex("01010101 00000000 78000000"), only_write().substr(0, 12));
}

TEST_F(Update, NumbersOf0AreSentAndFlagsThatAreNotSetAndAnEmptyNameAreNot) {
  EXPECT_EQ(number_item(2, 0) + kZeros5To13, sent());
  record_.flag_8 = 255;
  EXPECT_EQ(number_item(2, 0) + number_item(5, 0) + number_item(8, 1) + number_item(10, 0) +
                number_item(12, 0) + number_item(20, 0) + number_item(13, 0),
            sent());
}

TEST_F(Update, OneOfFlag4String19AndString18IsSent) {
  const std::string a52(52, 'b'), a53(53, 'b'), a128(128, 'c'), a129(129, 'c');
  const std::tuple<std::uint8_t, std::string, std::string, std::string> records[] = {
      {0, "eighteen", "", item(18, "eighteen")},
      {0, "eighteen", "nineteen", item(19, "nineteen")},
      {1, "eighteen", "nineteen", number_item(4, 1)},
      // Strings may fill their fields; one without NUL is not sent, and a string 19 without NUL
      // keeps string 18 back.
      {0, a52, "", item(18, a52)},
      {0, a53, "", ""},
      {0, a52, a128, item(19, a128)},
      {0, "eighteen", a129, ""},
  };
  for (const auto& [flag_4, string_18, string_19, expected] : records) {
    record_.flag_4 = flag_4;
    set(record_.string_18, string_18);
    set(record_.string_19, string_19);
    EXPECT_EQ(number_item(2, 0) + expected + kZeros5To13, sent()) << string_18 << ", " << string_19;
  }
}

TEST_F(Update, ANameThatFillsItsFieldIsSent) {
  const std::string name(64, 'a');
  set_name(name);
  EXPECT_EQ(item(1, name) + number_item(2, 0) + kZeros5To13, sent());
}

TEST_F(Update, ANameThatRunsOn248CharactersIsNotSent) {
  std::memset(&record_, 'u', 248);
  EXPECT_EQ(number_item(2, 0x75757575), sent().substr(0, 12));
}

TEST_F(Update, PasswordsGoFromTheBackToTheFrontAndEmptyOnesOrOver247CharactersAreLeftOut) {
  add_password("one");
  add_password("");
  add_password(std::string(247, 'p'));
  add_password(std::string(248, 'q'));
  add_password(std::string(256, 'r'));
  add_password("two");
  EXPECT_EQ(number_item(2, 0) + kZeros5To13 + item(6, "one") + item(6, std::string(247, 'p')) +
                item(6, "two"),
            sent());
}

TEST_F(Update, BlocksAndWhatIsNotTransferredStay) {
  add_block();
  set(record_.local_text, "local");
  record_.local_a[0] = record_.local_b[1] = record_.local_c[0] = 7;
  EXPECT_EQ(number_item(2, 0) + kZeros5To13, sent());
}

TEST_F(Update, TheRecordIsLeftAlone) {
  set_name("alice");
  add_password("one");
  const std::string before = bytes_of(record_);
  EXPECT_EQ(0, update());
  EXPECT_EQ(before, bytes_of(record_));
  EXPECT_EQ(std::vector<std::string>{"one"}, passwords_of(record_));
}

TEST_F(Update, TheFirstByteOfTheAnswerGivesTheResultWhateverItsType) {
  EXPECT_EQ(0, update(message_bytes(120, hex("01ffffff"))));
  EXPECT_EQ(-1, update(message_bytes(120, hex("00"))));
  EXPECT_EQ(-3, update(message_bytes(120, hex("02"))));
  EXPECT_EQ(-2, update(message_bytes(103, hex("03"))));
  EXPECT_EQ(-254, update(message_bytes(119, hex("ff"))));
  EXPECT_EQ(-1, update(message_bytes(120, "")));
}

}  // namespace
}  // namespace test
