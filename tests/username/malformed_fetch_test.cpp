// Fetched bodies whose items have lengths that cannot be right.
#include "username/user_records.h"

namespace test {
namespace {

class MalformedFetch : public UserRecordTest {};

TEST_F(MalformedFetch, AnItemOfLength0EndsTheWalk) {
  EXPECT_EQ(0, fetch(number_item(2, 7) + item_of(5, 0, word_bytes(5)) + number_item(10, 10)));
  EXPECT_EQ(7u, record_.value_2);
  EXPECT_EQ(0u, record_.value_10);
}

TEST_F(MalformedFetch, ALengthOf1To7CopiesNoCharactersAndIsAnEmptyPassword) {
  for (std::uint32_t length = 1; length < 8; ++length) {
    EXPECT_EQ(0, fetch(item_of(1, length, "xxxxxxxx"))) << length;
    EXPECT_STREQ("", record_.user_name);
    EXPECT_EQ(0, fetch(item_of(6, length, "xxxxxxxx"))) << length;
    EXPECT_EQ(std::vector<std::string>{""}, passwords_of(record_)) << length;
    username_lib_release_user(&record_);
  }
}

TEST_F(MalformedFetch, ALengthOf5To7IsSteppedOverAsItSays) {
  for (std::uint32_t length = 5; length < 8; ++length) {
    // At offset `length`: four bytes of no known type, the length 8, and then the number.
    const std::string unknown = std::string(length - 4, 'x') + word_bytes(8);
    EXPECT_EQ(0, fetch(item_of(1, length, unknown + number_item(2, 7)))) << length;
    EXPECT_EQ(7u, record_.value_2) << length;
  }
}

TEST_F(MalformedFetch, ALengthOf4ReadsTheNextItemFromTheLengthOn) {
  // From offset 4: an item of type 4 and length 12, the flag's value behind it.
  EXPECT_EQ(0, fetch(word_bytes(2) + word_bytes(4) + word_bytes(12) + word_bytes(1)));
  EXPECT_EQ(12u, record_.value_2);
  EXPECT_EQ(1, record_.flag_4);
}

TEST_F(MalformedFetch, AnOverlongItemEndsWithTheBody) {
  EXPECT_EQ(0, fetch(number_item(2, 7) + item_of(1, 1000, "alice")));
  EXPECT_EQ(7u, record_.value_2);
  EXPECT_STREQ("alice", record_.user_name);
}

TEST_F(MalformedFetch, LengthsUpToTheLargestEndTheWalk) {
  for (const std::uint32_t length : {0x7fffffffu, 0x80000000u, 0xfffffff8u, 0xffffffffu}) {
    EXPECT_EQ(0, fetch(item_of(18, length, "eighteen")));
    EXPECT_STREQ("eighteen", record_.string_18);
  }
}

TEST_F(MalformedFetch, AnOverlongPasswordHasTheCharactersThatAreThere) {
  EXPECT_EQ(0, fetch(item_of(6, 0xffffffff, "secret")));
  EXPECT_EQ(std::vector<std::string>{"secret"}, passwords_of(record_));
}

TEST_F(MalformedFetch, MissingBytesOfANumberReadAsZeros) {
  EXPECT_EQ(0, fetch(item_of(2, 12, hex("1122"))));
  EXPECT_EQ(0x2211u, record_.value_2);
  EXPECT_EQ(0, fetch(item_of(4, 12, "")));
  EXPECT_EQ(0, record_.flag_4);
}

TEST_F(MalformedFetch, ABodyThatEndsInAHeaderIsTakenAsFarAsItGoes) {
  const std::string whole = number_item(2, 7) + item(1, "alice");
  for (std::size_t size = 1; size < whole.size(); ++size) {
    EXPECT_EQ(0, fetch(whole.substr(0, size))) << size;
    EXPECT_EQ(size > 8 ? 7u : 0u, record_.value_2) << size;
    EXPECT_EQ(size > 20 ? whole.substr(20, size - 20) : "", record_.user_name) << size;
  }
}

}  // namespace
}  // namespace test
