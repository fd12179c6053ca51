// The server of the other tests does what they rely on: asked by its own client and by eapol_test.
#include "real/freeradius.h"

#include <gmock/gmock.h>

#include "real/skip.h"
#include "real/supplicant.h"

namespace {

using real_test::Credentials;
using real_test::FreeRadius;
using real_test::Process;
using real_test::Record;
using real_test::supplicant_file;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class FreeRadiusTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    skip_reason_ = FreeRadius::missing();
    if (skip_reason_.empty()) server_ = std::make_unique<FreeRadius>();
  }
  static void TearDownTestSuite() { server_.reset(); }

  void SetUp() override { AAA_SKIP_FOR(skip_reason_); }

  static std::string ask(const std::string& attributes) {
    return real_test::radclient(server_->directory(), server_->auth_port(), "auth", attributes);
  }
  static std::string signed_request(const std::string& attributes) {
    return ask(attributes + ", Message-Authenticator = 0x00");
  }

  // Sends the answer to the challenge that radclient has printed.
  static std::string answer(const std::string& challenge, const std::string& user,
                            const std::string& word) {
    const std::size_t at = challenge.rfind("State = 0x");
    EXPECT_NE(at, std::string::npos) << challenge;
    const std::string state = challenge.substr(at + 8, challenge.find('\n', at) - at - 8);
    return signed_request("User-Name = " + user + ", User-Password = " + word +
                          ", State = " + state);
  }

  static inline std::string skip_reason_;
  static inline std::unique_ptr<FreeRadius> server_;
};

// What follows the line of the answer.
std::string reply_in(const std::string& output) {
  const std::size_t at = output.find("Received ");
  return at == std::string::npos ? "" : output.substr(at);
}

TEST_F(FreeRadiusTest, AcceptsAPasswordWithASignedReplyAndAClass) {
  const std::string reply = reply_in(signed_request("User-Name = alice, User-Password = secret"));
  EXPECT_THAT(reply, HasSubstr("Received Access-Accept"));
  EXPECT_THAT(reply, HasSubstr("Message-Authenticator = 0x"));
  EXPECT_THAT(reply, HasSubstr("Class = 0x636c617373206f6620616c696365"));  // "class of alice"
  EXPECT_THAT(reply, HasSubstr("Reply-Message = \"Welcome, alice\""));
}

TEST_F(FreeRadiusTest, AcceptsChap) {
  EXPECT_THAT(reply_in(signed_request("User-Name = alice, CHAP-Password = secret")),
              HasSubstr("Received Access-Accept"));
}

TEST_F(FreeRadiusTest, RejectsAWrongPasswordAndAnUnknownUserWithASignedReply) {
  for (const char* login :
       {"User-Name = alice, User-Password = wrong", "User-Name = nobody, User-Password = secret"}) {
    const std::string reply = reply_in(signed_request(login));
    EXPECT_THAT(reply, HasSubstr("Received Access-Reject")) << login;
    EXPECT_THAT(reply, HasSubstr("Message-Authenticator = 0x")) << login;
  }
}

TEST_F(FreeRadiusTest, AnswersNoRequestWithoutMessageAuthenticator) {
  EXPECT_THAT(reply_in(ask("User-Name = alice, User-Password = secret")), IsEmpty());
}

TEST_F(FreeRadiusTest, AnswersTheMuteUserNever) {
  EXPECT_THAT(reply_in(signed_request("User-Name = mute, User-Password = secret")), IsEmpty());
}

TEST_F(FreeRadiusTest, SendsAVlanAndATimeLimit) {
  const std::string reply = reply_in(signed_request("User-Name = vera, User-Password = secret"));
  EXPECT_THAT(reply, HasSubstr("Session-Timeout = 3600"));
  EXPECT_THAT(reply, HasSubstr("Tunnel-Type:0 = VLAN"));
  EXPECT_THAT(reply, HasSubstr("Tunnel-Medium-Type:0 = IEEE-802"));
  EXPECT_THAT(reply, HasSubstr("Tunnel-Private-Group-Id:0 = \"42\""));
}

TEST_F(FreeRadiusTest, AsksForATokenAndThenForAPin) {
  const std::string token = signed_request("User-Name = olga, User-Password = secret");
  EXPECT_THAT(reply_in(token), HasSubstr("Received Access-Challenge"));
  EXPECT_THAT(reply_in(token), HasSubstr("Reply-Message = \"Token: \""));
  EXPECT_THAT(reply_in(token), HasSubstr("Message-Authenticator = 0x"));
  const std::string pin = answer(token, "olga", "123456");
  EXPECT_THAT(reply_in(pin), HasSubstr("Reply-Message = \"PIN: \""));
  EXPECT_THAT(reply_in(answer(pin, "olga", "9876")), HasSubstr("Received Access-Accept"));
}

TEST_F(FreeRadiusTest, RejectsAWrongToken) {
  const std::string token = signed_request("User-Name = otto, User-Password = secret");
  EXPECT_THAT(reply_in(answer(token, "otto", "654321")), HasSubstr("Received Access-Reject"));
}

TEST_F(FreeRadiusTest, WritesAccountingToItsFile) {
  const std::string reply = reply_in(real_test::radclient(
      server_->directory(), server_->acct_port(), "acct",
      "User-Name = alice, Acct-Status-Type = Start, Acct-Session-Id = 0000002a, Class = 0x6162"));
  EXPECT_THAT(reply, HasSubstr("Received Accounting-Response"));
  const std::vector<Record> records = server_->accounting(1);
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_THAT(records[0], Contains(Pair("User-Name", "alice")));
  EXPECT_THAT(records[0], Contains(Pair("Acct-Status-Type", "Start")));
  EXPECT_THAT(records[0], Contains(Pair("Acct-Session-Id", "0000002a")));
  EXPECT_THAT(records[0], Contains(Pair("Class", "0x6162")));
}

class EapTest : public FreeRadiusTest, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    FreeRadiusTest::SetUp();
    AAA_SKIP_FOR(real_test::missing_program({"eapol_test"}));
  }

  // What eapol_test prints.
  static std::string log_in(const Credentials& credentials) {
    const std::string file =
        supplicant_file(server_->directory(), server_->certificate(), credentials);
    std::vector<std::string> command{"eapol_test", "-c", file, "-a", "127.0.0.1"};
    const std::vector<std::string> more{"-p", server_->auth_port(), "-s", FreeRadius::kSecret, "-t",
                                        "5"};
    command.insert(command.end(), more.begin(), more.end());
    if (credentials.method == "MD5") command.emplace_back("-n");  // It makes no keys.
    Process program(command, server_->directory() + "/eapol_test");
    program.exit_status();
    return program.output();
  }
};

TEST_P(EapTest, AcceptsTheRightPassword) {
  const std::string output = log_in({GetParam()});
  EXPECT_THAT(output, HasSubstr("code=2 (Access-Accept)"));
  EXPECT_THAT(output, EndsWith("\nSUCCESS\n"));
}

TEST_P(EapTest, RejectsAWrongPassword) {
  const std::string output = log_in({GetParam(), "alice", "wrong"});
  EXPECT_THAT(output, HasSubstr("code=3 (Access-Reject)"));
  EXPECT_THAT(output, EndsWith("\nFAILURE\n"));
}

INSTANTIATE_TEST_SUITE_P(Methods, EapTest, testing::Values("MD5", "TTLS", "PEAP"),
                         [](const auto& method) { return std::string(method.param); });

}  // namespace
