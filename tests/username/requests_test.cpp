// Single requests to aaad's local user database: what they send and what they make of the answer.
#include <functional>

#include "session/state/client_state.h"
#include "support/expected_line.h"
#include "support/failing_block.h"
#include "support/library_counters.h"
#include "support/linked_test.h"
#include "support/own_stack.h"
#include "username_lib.h"

namespace {

using test::hex;
using test::message_bytes;
using test::word_bytes;

constexpr char kNotAlive[] = "already unregistered or not registered or is connecting!\r\n";

class LocalRequests : public test::LinkedTest {
 protected:
  std::int32_t change(const std::string& answer) {
    aaad_answers(answer);
    return username_lib_chg_pwd("alice", "old", "new");
  }
  std::int32_t grant(const std::string& answer) {
    aaad_answers(answer);
    return username_lib_fs_grant_req("alice", "path", 7);
  }
  std::int32_t security(const std::string& answer) {
    aaad_answers(answer);
    return username_lib_query_pwd_secu("alice", "secret");
  }

  // Expects null to be refused with one line before the registration is asked for.
  void expect_refused(std::int32_t result, const char* function,
                      const std::function<std::int32_t()>& call) {
    for (const auto state : {AAA_REG_REGISTERED, AAA_REG_LOST}) {
      aaa::set_reg_state(state);
      const test::OpenGate gate;
      const test::LogCapture log;
      EXPECT_EQ(result, call());
      test::expect_line(log, function, "Null param passed in.\r\n");
      EXPECT_EQ(1u, log.lines().size());
    }
    aaa::set_reg_state(AAA_REG_REGISTERED);
    EXPECT_TRUE(writes().empty());
  }
};

TEST_F(LocalRequests, APasswordChangeTravelsInThreeItems) {
  change(message_bytes(117, word_bytes(0)));
  EXPECT_EQ(hex("01010101 00000000 75000000 17000000"
                "0100 0500 616c696365  0200 0300 6f6c64  0300 0300 6e6577"),
            only_write());
}

TEST_F(LocalRequests, APasswordChangeReturnsTheAnswersWordWhateverItsType) {
  EXPECT_EQ(0, change(message_bytes(117, word_bytes(0))));
  EXPECT_EQ(0, change(message_bytes(103, word_bytes(0))));
  EXPECT_EQ(9, change(message_bytes(0, word_bytes(9) + word_bytes(1))));
  EXPECT_EQ(-9, change(message_bytes(117, word_bytes(0xfffffff7))));
}

TEST_F(LocalRequests, APasswordChangesShortAnswerReadsAsZeros) {
  EXPECT_EQ(0, change(message_bytes(117, "")));
  EXPECT_EQ(0x2211, change(message_bytes(117, hex("1122"))));
}

TEST_F(LocalRequests, APasswordChangeWithANullStringGivesMinus1) {
  const char* const name = "username_lib_chg_pwd";
  expect_refused(-1, name, [] { return username_lib_chg_pwd(nullptr, "b", "c"); });
  expect_refused(-1, name, [] { return username_lib_chg_pwd("a", nullptr, "c"); });
  expect_refused(-1, name, [] { return username_lib_chg_pwd("a", "b", nullptr); });
}

TEST_F(LocalRequests, StringsOf168BytesTogetherFillTheBodyOf180) {
  const std::string first(100, 'a'), second(60, 'b'), third(8, 'c');
  aaad_answers(message_bytes(117, word_bytes(3)));
  EXPECT_EQ(3, username_lib_chg_pwd(first.c_str(), second.c_str(), third.c_str()));
  EXPECT_EQ(180u, test::word_at(only_write(), 12));
  EXPECT_EQ(hex("0100 6400") + first + hex("0200 3c00") + second + hex("0300 0800") + third,
            only_write().substr(16));
}

TEST_F(LocalRequests, StringsOf169BytesTogetherAreRefusedWithOneLine) {
  const std::string long_one(169, 'a'), first(100, 'a'), second(69, 'b');
  for (const auto& [s1, s2, s3] :
       {std::tuple(long_one, std::string(), std::string()),
        std::tuple(first, second, std::string()), std::tuple(std::string(), first, second)}) {
    const test::OpenGate gate;
    const test::LogCapture log;
    EXPECT_EQ(-1, username_lib_chg_pwd(s1.c_str(), s2.c_str(), s3.c_str()));
    ASSERT_EQ(1u, log.lines().size());
    EXPECT_EQ("username_lib_chg_pwd", log.lines()[0].function());
  }
  EXPECT_TRUE(writes().empty());
}

TEST_F(LocalRequests, APasswordChangeTakesNoBlockForItsBody) {
  std::vector<std::size_t> blocks;
  script({.malloc = [&](std::size_t size) -> std::optional<void*> {
    blocks.push_back(size);
    return std::nullopt;
  }});
  change(message_bytes(117, word_bytes(0)));
  ASSERT_FALSE(blocks.empty());
  EXPECT_EQ(16u + 23u, blocks[0]) << "the message, with its header";
}

TEST_F(LocalRequests, APasswordChangeLeavesNoPasswordOnTheStack) {
  const std::string secrets(60, 's');
  const std::string others(60, 'o');
  test::OwnStack stack;
  const auto change_to = [&](const std::string& password) {
    aaad_answers(message_bytes(117, word_bytes(0)));
    std::int32_t result = -1;
    stack.run([&] { result = username_lib_chg_pwd("alice", password.c_str(), password.c_str()); });
    EXPECT_EQ(0, result);
  };
  // The first call may leave registers on the stack while the dynamic linker looks for functions.
  change_to(others);
  change_to(secrets);
  EXPECT_NE(std::string::npos, writes().back().find(secrets));
  EXPECT_FALSE(stack.holds(secrets.substr(0, 8)));
}

TEST_F(LocalRequests, TheRegistrationIsAskedForBeforeTheLengths) {
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-5, username_lib_chg_pwd(std::string(169, 'a').c_str(), "", ""));
}

TEST_F(LocalRequests, AGrantTravelsInThreeItems) {
  grant(message_bytes(118, "\1"));
  EXPECT_EQ(hex("01010101 00000000 76000000 19000000"
                "0100 0500 616c696365  0200 0400 70617468  0300 0400 07000000"),
            only_write());
}

TEST_F(LocalRequests, AGrantsFirstStringIsCutTo64Bytes) {
  const std::string text = std::string(64, 'a') + std::string(36, 'x');
  aaad_answers(message_bytes(118, "\1"));
  username_lib_fs_grant_req(text.c_str(), "", 7);
  EXPECT_EQ(hex("0100 4000") + std::string(64, 'a') + hex("0200 0000 0300 0400 07000000"),
            only_write().substr(16));
}

TEST_F(LocalRequests, AGrantsSecondStringIsCutTo4096Bytes) {
  const std::string text = std::string(4096, 'b') + std::string(70000, 'x');
  aaad_answers(message_bytes(118, "\1"));
  username_lib_fs_grant_req("", text.c_str(), 7);
  EXPECT_EQ(hex("0100 0000 0200 0010") + std::string(4096, 'b') + hex("0300 0400 07000000"),
            only_write().substr(16));
}

TEST_F(LocalRequests, AGrantsLongestBodyHas4176Bytes) {
  const std::string text(5000, 'x');
  aaad_answers(message_bytes(118, "\1"));
  username_lib_fs_grant_req(text.c_str(), text.c_str(), 7);
  EXPECT_EQ(4176u, test::word_at(only_write(), 12));
}

TEST_F(LocalRequests, AGrantReturnsTheNegatedFirstByteWhateverTheType) {
  EXPECT_EQ(0, grant(message_bytes(118, word_bytes(0x11223300))));
  EXPECT_EQ(-13, grant(message_bytes(118, "\x0d")));
  EXPECT_EQ(-255, grant(message_bytes(103, "\xff")));
  EXPECT_EQ(0, grant(message_bytes(118, "")));
}

TEST_F(LocalRequests, AGrantWithANullStringGivesMinus2) {
  const char* const name = "username_lib_fs_grant_req";
  expect_refused(-2, name, [] { return username_lib_fs_grant_req(nullptr, "b", 1); });
  expect_refused(-2, name, [] { return username_lib_fs_grant_req("a", nullptr, 1); });
}

TEST_F(LocalRequests, AGrantWithoutMemoryIsLogged) {
  script(test::FailingBlock(1).scripts());
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-1, username_lib_fs_grant_req("a", "b", 1));
  test::expect_line(log, "username_lib_fs_grant_req", "Get new memory for sndbuf faild.\r\n");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(LocalRequests, ASecurityQueryTravelsInTwoItems) {
  security(message_bytes(124, word_bytes(0)));
  EXPECT_EQ(hex("01010101 00000000 16000000 13000000"
                "0100 0500 616c696365  0200 0600 736563726574"),
            only_write());
}

TEST_F(LocalRequests, ASecurityQueryReturnsTheWordOfAnAnswerOfType124) {
  EXPECT_EQ(5, security(message_bytes(124, word_bytes(5))));
  EXPECT_EQ(-5, security(message_bytes(124, word_bytes(0xfffffffb) + word_bytes(1))));
  EXPECT_EQ(0x2211, security(message_bytes(124, hex("1122"))));
  EXPECT_EQ(0, security(message_bytes(124, "")));
}

TEST_F(LocalRequests, ASecurityQueryAnsweredWithItsOwnTypeGivesMinus3) {
  EXPECT_EQ(-3, security(message_bytes(22, word_bytes(5))));
}

TEST_F(LocalRequests, ALengthOfASecurityQueryIsCutTo16BitsAndTheTextIsNot) {
  const std::string text(65539, 'p');
  aaad_answers(message_bytes(124, word_bytes(0)));
  EXPECT_EQ(0, username_lib_query_pwd_secu(text.c_str(), "s"));
  EXPECT_EQ(65548u, test::word_at(only_write(), 12));
  EXPECT_EQ(hex("0100 0300") + text + hex("0200 0100 73"), only_write().substr(16));
}

TEST_F(LocalRequests, ASecurityQueryWithANullStringGivesMinus1) {
  const char* const name = "username_lib_query_pwd_secu";
  expect_refused(-1, name, [] { return username_lib_query_pwd_secu(nullptr, "b"); });
  expect_refused(-1, name, [] { return username_lib_query_pwd_secu("a", nullptr); });
}

TEST_F(LocalRequests, ASecurityQueryWithoutMemoryIsLoggedWithoutAFullStop) {
  script(test::FailingBlock(1).scripts());
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-3, username_lib_query_pwd_secu("a", "b"));
  test::expect_line(log, "username_lib_query_pwd_secu", "out of memory\r\n");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(LocalRequests, WithoutARegistrationOnlyThatIsLogged) {
  aaa::set_reg_state(AAA_REG_LOST);
  const test::OpenGate gate;
  const test::LogCapture log;
  username_lib_chg_pwd("a", "b", "c");
  username_lib_fs_grant_req("a", "b", 1);
  username_lib_query_pwd_secu("a", "b");
  EXPECT_EQ((std::vector<std::string>(3, kNotAlive)), log.messages());
}

TEST_F(LocalRequests, NoCounterMoves) {
  const test::LibraryCounters counters;
  change(message_bytes(117, word_bytes(0)));
  grant(message_bytes(118, "\1"));
  next_write_fails(EPIPE);
  username_lib_query_pwd_secu("a", "b");
  EXPECT_TRUE(counters.all_unchanged());
}

}  // namespace
