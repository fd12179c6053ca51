// aaa-probe login.
#include "probe_fixture.h"

namespace probe_test {
namespace {

class ProbeLogin : public ProbeTest {
 protected:
  ProbeLogin() {
    sim_.add_user({.name = "alice",
                   .password = "secret",
                   .reply_message = "Welcome",
                   .class_attribute = "staff",
                   .session_timeout = 3600});
    sim_.add_user({.name = "bob",
                   .password = "code",
                   .verdict = aaa_sim::Verdict::challenge,
                   .reply_message = "Token:",
                   .state = "step-2"});
  }
};

TEST_F(ProbeLogin, AnAcceptedUserIsStatusZero) {
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 0,
         "result: accepted\nsession: 1\nuser: alice\nmessage: Welcome\nclass: staff\n"
         "session_timeout: 3600\n");
  expect(run({"--json", "login", "alice", "--password-stdin"}, "secret\n"), 0,
         R"({"result":"accepted","session":101,"user":"alice","message":"Welcome",)"
         R"("class":"staff","session_timeout":3600})"
         "\n");
}

TEST_F(ProbeLogin, ARejectedUserIsStatusOne) {
  expect(run({"login", "carol", "--password-stdin"}, "secret\n"), 1,
         "result: rejected\nsession: 1\nmessage: Unknown user\n");
}

TEST_F(ProbeLogin, AnOpenChallengeIsStatusTwoAndItsStateContinuesIt) {
  expect(run({"login", "bob", "--password-stdin"}, "code\n"), 2,
         "result: challenge\nsession: 1\nuser: bob\nmessage: Token:\nstate: 737465702d32\n");
  expect(run({"login", "bob", "--password-stdin", "--session", "1", "--state", "737465702D32"},
             "code\n"),
         0, "result: accepted\nsession: 1\nuser: bob\nmessage: Token:\n");
}

TEST_F(ProbeLogin, ThePasswordIsTheFirstLineOfItsSource) {
  const std::string file = file_with("secret\nnothing\n");
  EXPECT_EQ(run({"login", "alice", "--password-file", file}).exit_status, 0);
  EXPECT_EQ(run({"login", "alice", "--password-file", file_with("secret")}).exit_status, 0);
  EXPECT_EQ(run({"login", "alice", "--password-stdin"}, "secret\nnothing\n").exit_status, 0);
}

TEST_F(ProbeLogin, AMissingPasswordIsAUsageError) {
  expect(run({"login", "alice", "--password-stdin"}), 64, "",
         "aaa-probe: no password on standard input\n");
  const std::string file = file_with("");
  expect(run({"login", "alice", "--password-file", file}), 64, "",
         "aaa-probe: " + file + ": no password in this file\n");
  expect(run({"login", "alice", "--password-file", "/nowhere/at/all"}), 64, "",
         "aaa-probe: /nowhere/at/all: No such file or directory\n");
  expect(run({"login", "alice", "--password-stdin"}, std::string(4097, 'x') + "\n"), 64, "",
         "aaa-probe: the password is too long\n");
  EXPECT_EQ(sim_.count(received(5)), 0u);
}

TEST_F(ProbeLogin, EveryOptionIsAFieldOfTheRequest) {
  const Outcome outcome = run({"login",
                               "alice",
                               "--password-stdin",
                               "--session",
                               "0x102",
                               "--state",
                               "00ff",
                               "--nas-ip-address",
                               "192.0.2.7",
                               "--nas-port",
                               "17",
                               "--nas-port-type",
                               "5",
                               "--service-type",
                               "1",
                               "--nas-port-id",
                               "tty7",
                               "--called-station",
                               "here",
                               "--calling-station",
                               "there",
                               "--chargeable-user-identity",
                               "cui"},
                              "secret\n");
  EXPECT_EQ(outcome.errors, "");
  const std::string bytes = message_of(5);
  EXPECT_EQ(test::word_at(bytes, 4), 0x102u);
  // Behind the headers of the message and of the block.
  const std::string block = bytes.substr(16 + 4);
  EXPECT_EQ(block.substr(29, 5), test::hex("74747937 00"));
  EXPECT_EQ(block.substr(198, 6), std::string("alice\0", 6));
  EXPECT_EQ(test::word_at(block, 396), 17u);
  EXPECT_EQ(test::word_at(block, 400), 0x102u);
  EXPECT_EQ(test::word_at(block, 404), 5u);
  EXPECT_EQ(test::word_at(block, 408), 1u);
  EXPECT_EQ(block.substr(472, 6), std::string("there\0", 6));
  EXPECT_EQ(block.substr(672, 5), std::string("here\0", 5));
  const std::string items = block.substr(1184);
  EXPECT_THAT(items, HasSubstr(test::item_bytes(2, "secret")));
  EXPECT_THAT(items, HasSubstr(test::item_bytes(4, test::hex("c0000207"))));
  EXPECT_THAT(items, HasSubstr(test::item_bytes(24, test::hex("00ff"))));
  EXPECT_THAT(items, HasSubstr(test::item_bytes(89, "cui")));
}

TEST_F(ProbeLogin, WhatIsNotTextIsHexadecimal) {
  // Not UTF-8, with a control character, and two lines of UTF-8.
  sim_.set_answer(5, answer_with(0, test::item_bytes(79, test::hex("03010004")) +
                                        test::item_bytes(25, test::hex("61ff")) +
                                        test::item_bytes(18, "caf\xc3\xa9\nresult: no")));
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 0,
         "result: accepted\nsession: 1\nmessage: caf\xc3\xa9\n  result: no\nclass_hex: 61ff\n"
         "eap_message_hex: 03010004\n");
  sim_.set_answer(5, answer_with(1, test::item_bytes(18, "\x1b[2J")));
  expect(run({"--json", "login", "alice", "--password-stdin"}, "secret\n"), 1,
         R"({"result":"rejected","session":101,"message_hex":"1b5b324a"})"
         "\n");
}

TEST_F(ProbeLogin, MalformedUtf8IsNotText) {
  // Overlong, a surrogate, above the last code point, cut off, a lonely continuation.
  sim_.set_answer(5, answer_with(0, test::item_bytes(18, test::hex("c0af")) +
                                        test::item_bytes(25, test::hex("eda080")) +
                                        test::item_bytes(79, test::hex("f4908080")) +
                                        test::item_bytes(87, test::hex("e282")) +
                                        test::item_bytes(89, test::hex("80"))));
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 0,
         "result: accepted\nsession: 1\nmessage_hex: c0af\nclass_hex: eda080\n"
         "eap_message_hex: f4908080\nnas_port_id_hex: e282\n"
         "chargeable_user_identity_hex: 80\n");
  // A control character in two bytes.
  sim_.set_answer(5, answer_with(0, test::item_bytes(25, test::hex("c285"))));
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 0,
         "result: accepted\nsession: 101\nclass_hex: c285\n");
}

TEST_F(ProbeLogin, SilentServersAreATimeOut) {
  sim_.set_answer(5, answer_with(4));
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 4,
         "result: no server answered\nsession: 1\n");
}

TEST_F(ProbeLogin, AnUnknownCodeIsNoAcceptance) {
  sim_.set_answer(5, answer_with(9));
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 1,
         "result: unknown code 9\nsession: 1\n");
}

TEST_F(ProbeLogin, ARecordOfZerosIsNoAcceptance) {
  sim_.set_answer(5, [](const aaa_sim::Request& request) -> aaa_sim::Replies {
    return {{aaa_sim::Role::event, 103, request.header.id, aaa_sim::Bytes(1284)}};
  });
  expect(run({"--timeout", "2", "login", "alice", "--password-stdin"}, "secret\n"), 4, "",
         "aaa-probe: no answer within 2 seconds\n");
  EXPECT_EQ(sim_.reports().cleared_sessions, std::vector<std::uint32_t>{1});
}

TEST_F(ProbeLogin, ADaemonThatGrantsNoSessionIsARejection) {
  sim_.change([](aaa_sim::Settings& settings) { settings.next_session_id = 0; });
  expect(run({"login", "alice", "--password-stdin"}, "secret\n"), 1, "",
         "aaa-probe: aaad grants no session id\n");
}

}  // namespace
}  // namespace probe_test
