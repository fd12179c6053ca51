// Single requests to aaad's local user database: what they send and what they make of the answer.
#include <functional>

#include "support/failing_allocator.h"
#include "support/linked_test.h"
#include "support/locked_state.h"
#include "support/own_stack.h"
#include "username_lib.h"

namespace test {
namespace {

class LocalRequests : public LinkedTest {
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
  // The body that a grant of these texts has.
  std::string grant_body(const std::string& first, const std::string& second) {
    aaad_answers(message_bytes(118, "\1"));
    username_lib_fs_grant_req(first.c_str(), second.c_str(), 7);
    return writes().back().substr(16);
  }
};

TEST_F(LocalRequests, NullIsRefusedWithOneLineBeforeTheRegistrationIsAskedFor) {
  authen_info authen = {};
  author_info author = {};
  result_info* result = nullptr;
  const std::tuple<const char*, std::int32_t, std::function<std::int32_t()>> calls[] = {
      {"username_lib_chg_pwd", -1, [] { return username_lib_chg_pwd(nullptr, "b", "c"); }},
      {"username_lib_chg_pwd", -1, [] { return username_lib_chg_pwd("a", nullptr, "c"); }},
      {"username_lib_chg_pwd", -1, [] { return username_lib_chg_pwd("a", "b", nullptr); }},
      {"username_lib_fs_grant_req", -2, [] { return username_lib_fs_grant_req(nullptr, "b", 1); }},
      {"username_lib_fs_grant_req", -2, [] { return username_lib_fs_grant_req("a", nullptr, 1); }},
      {"username_lib_query_pwd_secu", -1, [] { return username_lib_query_pwd_secu(nullptr, "b"); }},
      {"username_lib_query_pwd_secu", -1, [] { return username_lib_query_pwd_secu("a", nullptr); }},
      {"username_lib_copy_user", -2, [] { return username_lib_copy_user(nullptr); }},
      {"username_lib_update_user", -2, [] { return username_lib_update_user(nullptr); }},
      {"username_lib_authen_req", -1, [&] { return username_lib_authen_req(nullptr, &result); }},
      {"username_lib_authen_req", -1, [&] { return username_lib_authen_req(&authen, nullptr); }},
      {"username_lib_author_req", -1, [&] { return username_lib_author_req(nullptr, &result); }},
      {"username_lib_author_req", -1, [&] { return username_lib_author_req(&author, nullptr); }},
  };
  for (const auto state : {AAA_REG_REGISTERED, AAA_REG_LOST}) {
    set_reg_state(state);
    for (const auto& [function, code, call] : calls) {
      const LogCapture closed;
      EXPECT_EQ(code, call()) << function;
      EXPECT_TRUE(closed.lines().empty()) << function;
      const OpenLog log;
      EXPECT_EQ(code, call()) << function;
      log.expect_only(function, "Null param passed in.\r\n");
    }
  }
  EXPECT_TRUE(writes().empty());
}

TEST_F(LocalRequests, WithoutARegistrationOnlyThatIsLogged) {
  set_reg_state(AAA_REG_LOST);
  const OpenLog log;
  username_lib_chg_pwd("a", "b", "c");
  username_lib_fs_grant_req("a", "b", 1);
  username_lib_query_pwd_secu("a", "b");
  EXPECT_EQ(
      (std::vector<std::string>(3, "already unregistered or not registered or is connecting!\r\n")),
      log.messages());
}

TEST_F(LocalRequests, APasswordChangeReturnsTheAnswersWordWhateverItsType) {
  EXPECT_EQ(0, change(message_bytes(117, word_bytes(0))));
  EXPECT_EQ(0, change(message_bytes(103, word_bytes(0))));
  EXPECT_EQ(9, change(message_bytes(0, word_bytes(9) + word_bytes(1))));
  EXPECT_EQ(-9, change(message_bytes(117, word_bytes(0xfffffff7))));
  EXPECT_EQ(0, change(message_bytes(117, "")));
  EXPECT_EQ(0x2211, change(message_bytes(117, hex("1122"))));
}

TEST_F(LocalRequests, StringsOf168BytesTogetherFillTheBodyOf180) {
  const std::string first(100, 'a'), second(60, 'b'), third(8, 'c');
  aaad_answers(message_bytes(117, word_bytes(3)));
  EXPECT_EQ(3, username_lib_chg_pwd(first.c_str(), second.c_str(), third.c_str()));
  EXPECT_EQ(180u, word_at(only_write(), 12));
  EXPECT_EQ(hex("0100 6400") + first + hex("0200 3c00") + second + hex("0300 0800") + third,
            only_write().substr(16));
}

TEST_F(LocalRequests, StringsOf169BytesTogetherAreRefusedWithOneLine) {
  const std::string long_one(169, 'a'), first(100, 'a'), second(69, 'b');
  for (const auto& [s1, s2, s3] :
       {std::tuple(long_one, std::string(), std::string()),
        std::tuple(first, second, std::string()), std::tuple(std::string(), first, second)}) {
    const OpenLog log;
    EXPECT_EQ(-1, username_lib_chg_pwd(s1.c_str(), s2.c_str(), s3.c_str()));
    ASSERT_EQ(1u, log.lines().size());
    EXPECT_EQ("username_lib_chg_pwd", log.lines()[0].function());
  }
  EXPECT_TRUE(writes().empty());
  set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-5, username_lib_chg_pwd(long_one.c_str(), "", ""))
      << "the registration is asked first";
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
  OwnStack stack;
  // The first call may leave registers on the stack while the dynamic linker looks for functions.
  for (const std::string& password : {std::string(60, 'o'), secrets}) {
    aaad_answers(message_bytes(117, word_bytes(0)));
    std::int32_t result = -1;
    stack.run([&] { result = username_lib_chg_pwd("alice", password.c_str(), password.c_str()); });
    EXPECT_EQ(0, result);
  }
  EXPECT_NE(std::string::npos, writes().back().find(secrets));
  EXPECT_FALSE(stack.holds(secrets.substr(0, 8)));
}

TEST_F(LocalRequests, AGrantsStringsAreCutTo64And4096Bytes) {
  const std::string first = std::string(64, 'a') + std::string(36, 'x');
  const std::string second = std::string(4096, 'b') + std::string(70000, 'x');
  const std::string last = hex("0300 0400 07000000");
  EXPECT_EQ(hex("0100 4000") + std::string(64, 'a') + hex("0200 0000") + last,
            grant_body(first, ""));
  EXPECT_EQ(hex("0100 0000 0200 0010") + std::string(4096, 'b') + last, grant_body("", second));
  EXPECT_EQ(4176u, grant_body(first, second).size());
  EXPECT_EQ(4176u, word_at(writes().back(), 12));
}

TEST_F(LocalRequests, AGrantReturnsTheNegatedFirstByteWhateverTheType) {
  EXPECT_EQ(0, grant(message_bytes(118, word_bytes(0x11223300))));
  EXPECT_EQ(-13, grant(message_bytes(118, "\x0d")));
  EXPECT_EQ(-255, grant(message_bytes(103, "\xff")));
  EXPECT_EQ(0, grant(message_bytes(118, "")));
}

TEST_F(LocalRequests, WithoutMemoryForTheBodyALineIsLogged) {
  const FailMalloc failing_first(1);
  const OpenLog grant_log;
  EXPECT_EQ(-1, username_lib_fs_grant_req("a", "b", 1));
  grant_log.expect_only("username_lib_fs_grant_req", "Get new memory for sndbuf faild.\r\n");
  const FailMalloc failing_again(1);
  const OpenLog security_log;
  EXPECT_EQ(-3, username_lib_query_pwd_secu("a", "b"));
  security_log.expect_only("username_lib_query_pwd_secu", "out of memory\r\n");
}

TEST_F(LocalRequests, ASecurityQueryReturnsTheWordOfAnAnswerOfType124) {
  EXPECT_EQ(5, security(message_bytes(124, word_bytes(5))));
  EXPECT_EQ(-5, security(message_bytes(124, word_bytes(0xfffffffb) + word_bytes(1))));
  EXPECT_EQ(0x2211, security(message_bytes(124, hex("1122"))));
  EXPECT_EQ(0, security(message_bytes(124, "")));
  EXPECT_EQ(-3, security(message_bytes(22, word_bytes(5)))) << "its own type";
}

TEST_F(LocalRequests, ALengthOfASecurityQueryIsCutTo16BitsAndTheTextIsNot) {
  const std::string text(65539, 'p');
  aaad_answers(message_bytes(124, word_bytes(0)));
  EXPECT_EQ(0, username_lib_query_pwd_secu(text.c_str(), "s"));
  EXPECT_EQ(65548u, word_at(only_write(), 12));
  EXPECT_EQ(hex("0100 0300") + text + hex("0200 0100 73"), only_write().substr(16));
}

}  // namespace
}  // namespace test
