// Questions that are answered from the settings.
#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

class QuestionsTest : public ClientTest {
 protected:
  QuestionsTest() {
    sim_.change([](Settings& settings) {
      settings.method_lists = {{1, "default", 3}, {2, "default", 5}, {2, "vpn", 6}};
      settings.server_statistics = {{4, 77}};
    });
  }

  // The word that comes back in the message of this type.
  std::uint32_t word_from(std::uint8_t type, const Bytes& body, std::uint32_t answer_type) {
    const Bytes answer = ask(type, body);
    EXPECT_EQ(answer.size(), 20u);
    EXPECT_EQ(word_at(answer, 8), answer_type);
    return word_at(answer, 16);
  }
};

TEST_F(QuestionsTest, MethodListExistsByName) {
  const Bytes words = hex("01000000 02000000 03000000");
  EXPECT_EQ(word_from(9, words + text("vpn") + hex("00"), 104), 1u);
  EXPECT_EQ(word_from(9, words + text("vp") + hex("00"), 104), 0u);
}

TEST_F(QuestionsTest, MethodListStateGoesByKindAndName) {
  EXPECT_EQ(word_from(18, hex("02000000") + text("vpn") + hex("00"), 114), 6u);
  EXPECT_EQ(word_from(18, hex("01000000") + text("default") + hex("00"), 114), 3u);
  EXPECT_EQ(word_from(18, hex("01000000") + text("vpn") + hex("00"), 114), 0u);
}

TEST_F(QuestionsTest, MethodListStateWithoutANameIsTheFirstOfTheKind) {
  EXPECT_EQ(word_from(18, hex("02000000"), 114), 5u);
  EXPECT_EQ(word_from(18, hex("03000000"), 114), 0u);
}

TEST_F(QuestionsTest, ServerStatisticGoesByTheLastWord) {
  EXPECT_EQ(word_from(12, Bytes(392) + hex("04000000"), 107), 77u);
  EXPECT_EQ(word_from(12, Bytes(392) + hex("05000000"), 107), 0u);
}

TEST_F(QuestionsTest, QuestionCutShortIsRemarkedAndNotAnswered) {
  for (const std::uint8_t type : std::initializer_list<std::uint8_t>{9, 12, 18, 26, 32}) {
    client_.request.send(framed(type, hex("0100")));
    EXPECT_TRUE(sim_.wait_for_note("message " + std::to_string(type) + ": "));
  }
  EXPECT_TRUE(client_.request.stays_silent(std::chrono::milliseconds(20)));
}

class PasswordUpdateTest : public ClientTest {
 protected:
  PasswordUpdateTest() { sim_.add_user({.name = "alice", .password = "old"}); }

  // Asks with the words 5 and 6; the whole answer.
  Bytes update(const Bytes& name, const Bytes& old_password, const Bytes& new_password) {
    return ask(26, hex("05000000 06000000") + prefixed(name) + prefixed(old_password) +
                       prefixed(new_password));
  }

  static Bytes prefixed(const Bytes& text) {
    return Bytes{static_cast<std::uint8_t>(text.size()), 0, 0, 0} + text;
  }
};

TEST_F(PasswordUpdateTest, RightOldPasswordIsReplaced) {
  EXPECT_EQ(update(text("alice"), text("old"), text("new")),
            hex("01010101 00000000 81000000 08000000  05000000 00000000"));
  EXPECT_EQ(sim_.settings().users.at(0).password, "new");
}

TEST_F(PasswordUpdateTest, RefusalsHaveCodes) {
  EXPECT_EQ(word_at(update(text("bob"), text("old"), text("new")), 20), 1u);
  EXPECT_EQ(word_at(update(text("alice"), text("odd"), text("new")), 20), 2u);
  EXPECT_EQ(word_at(update(text("alice"), text("old"), text("")), 20), 3u);
  EXPECT_EQ(sim_.settings().users.at(0).password, "old");
}

TEST_F(PasswordUpdateTest, LengthBeyondTheBodyIsRemarked) {
  client_.request.send(framed(26, hex("05000000 06000000 ffffffff") + text("alice")));
  EXPECT_TRUE(sim_.wait_for_note("message 26: body cut short"));
}

}  // namespace
}  // namespace aaa_sim_test
