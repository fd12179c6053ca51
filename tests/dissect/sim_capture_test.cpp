// aaad-sim --capture: the bytes of the file.
#include <fcntl.h>
#include <unistd.h>

#include "dissect/dissect_fixture.h"

namespace dissect_test {
namespace sim_capture {

class SimCapture : public SimProgramTest {
 protected:
  void start_capture(std::vector<std::string> options = {}) {
    options.insert(options.end(), {"--capture", capture_});
    start_sim(std::move(options));
  }
  RawClient register_client(const std::string& model = "netd") {
    return RawClient(socket_below(daemon_directory_), model);
  }
  static std::string login_body() {
    std::string body = test::item_bytes(1, std::string(1184, '\0'));
    body.replace(4 + 198, 5, "alice");
    return body + test::item_bytes(2, "wonderland");
  }
  // Until the simulator has ended, and so has written all.
  std::string final_capture() {
    end_sim();
    return contents_of(capture_);
  }
  std::string wait_for_capture(const std::string& bytes) {
    EXPECT_TRUE(test::eventually([&] {
      return contents_of(capture_).find(bytes) != std::string::npos;
    })) << "not in the capture";
    return contents_of(capture_);
  }
};

// The client's process is this one, so the interface's description depends on it.
TEST_F(SimCapture, HasItsBlocksAtTheirPlaces) {
  start_capture();
  register_client();
  const std::string bytes = final_capture();
  const std::string application = std::string("aaad-sim ") + AAAD_SIM_VERSION;
  EXPECT_EQ(bytes.substr(0, 4), hex("0a0d0d0a"));
  EXPECT_EQ(bytes.substr(8, 16), hex("4d3c2b1a 0100 0000 ffffffffffffffff"));
  EXPECT_EQ(bytes.substr(24, 2), hex("0400"));
  EXPECT_EQ(bytes.substr(28, application.size()), application);
  const std::size_t section = word_at(bytes, 4);
  EXPECT_EQ(section, 12 + 16 + 4 + 16 + 4u);
  EXPECT_EQ(word_at(bytes, section - 4), section);

  const std::string client = "netd/" + std::to_string(::getpid());
  const std::string described = bytes.substr(section);
  EXPECT_EQ(word_at(described, 0), 1u);
  EXPECT_EQ(described.substr(8, 8), hex("9300 0000 00000000"));
  EXPECT_EQ(described.substr(16, 4), hex("0200 0700"));
  EXPECT_EQ(described.substr(20, 8), std::string("request\0", 8));
  EXPECT_EQ(described.substr(28, 2), hex("0300"));
  EXPECT_EQ(described.substr(32, client.size()), client);
  const std::size_t interface = word_at(described, 4);
  EXPECT_EQ(described.substr(interface - 16, 12), hex("0900 0100 09000000 0000 0000"));

  const std::string packet = described.substr(interface);
  EXPECT_EQ(word_at(packet, 0), 6u);
  EXPECT_EQ(word_at(packet, 4), 68u);
  EXPECT_EQ(word_at(packet, 8), 0u);
  EXPECT_EQ(word_at(packet, 20), 22u);
  EXPECT_EQ(word_at(packet, 24), 22u);
  EXPECT_EQ(packet.substr(28, 22),
            hex("01010101 00000000 00000000 06000000") + std::string("1netd\0", 6));
  EXPECT_EQ(packet.substr(52, 12), hex("0200 0400 01000000 0000 0000"));
  EXPECT_EQ(word_at(packet, 64), 68u);

  const std::string answer = packet.substr(68);
  EXPECT_EQ(answer.substr(28, 20), hex("01010101 00000000 64000000 04000000 01000000"));
  EXPECT_EQ(answer.substr(48, 8), hex("0200 0400 02000000"));
  EXPECT_EQ(word_at(answer, word_at(answer, 4)), 1u) << "the interface of the event socket";
  EXPECT_THAT(answer.substr(word_at(answer, 4)), HasSubstr("event"));
}

TEST_F(SimCapture, TimesAreNanosecondsSince1970) {
  start_capture();
  const std::uint64_t before = static_cast<std::uint64_t>(::time(nullptr));
  register_client();
  const std::string bytes = final_capture();
  const std::string packet = bytes.substr(bytes.find(hex("01010101")) - 28);
  const std::uint64_t time = std::uint64_t{word_at(packet, 12)} << 32 | word_at(packet, 16);
  EXPECT_GE(time / 1000000000, before);
  EXPECT_LE(time / 1000000000, before + 60);
}

TEST_F(SimCapture, PasswordsAreMaskedUnlessAskedFor) {
  for (const bool kept : {false, true}) {
    SCOPED_TRACE(kept);
    start_capture(kept ? std::vector<std::string>{"--capture-secrets"}
                       : std::vector<std::string>{});
    RawClient client = register_client();
    client.request.send(test::message_with_id(7, 5, login_body()));
    EXPECT_NE(client.event.receive_message(), "");
    client.request.send(test::message_bytes(119, "carol"));
    client.request.receive_message();
    const std::string bytes = final_capture();
    EXPECT_EQ(bytes.find("wonderland") != std::string::npos, kept);
    EXPECT_EQ(bytes.find(std::string(10, '*')) != std::string::npos, !kept);
    EXPECT_THAT(bytes, HasSubstr("alice"));
  }
}

TEST_F(SimCapture, LocalUsersAndChangesOfPasswordsAreMasked) {
  start_capture({"--local-user", "carol:rosebud"});
  RawClient client = register_client();
  client.request.send(test::message_bytes(119, "carol"));
  EXPECT_THAT(client.request.receive_message(), EndsWith("rosebud"));
  client.request.send(test::message_bytes(117, test::item_bytes(1, "carol") +
                                                   test::item_bytes(2, "rosebud") +
                                                   test::item_bytes(3, "violets")));
  client.request.receive_message();
  const std::string bytes = final_capture();
  EXPECT_THAT(bytes, Not(HasSubstr("rosebud")));
  EXPECT_THAT(bytes, Not(HasSubstr("violets")));
}

TEST_F(SimCapture, AnswersAreWrittenAsTheyWentOut) {
  start_capture({"--fault", "request:3=short-body", "--fault", "request:9=wrong-type", "--fault",
                 "request:18=empty-body"});
  RawClient client = register_client();
  std::string answers;
  for (const std::uint32_t type : {3u, 9u, 18u}) {
    client.request.send(test::message_bytes(type, std::string(20, '\0')));
    answers = client.request.receive_message();
    EXPECT_NE(answers, "") << type;
    wait_for_capture(answers);
  }
}

TEST_F(SimCapture, WhatIsNoMessageIsWrittenWithARemark) {
  start_capture({"--control", "--capture-secrets"});
  RawClient client = register_client();
  sim_->type("raw event 0102030405");
  EXPECT_EQ(client.event.receive(5), hex("0102030405"));
  EXPECT_THAT(wait_for_capture(hex("0102030405")),
              HasSubstr(hex("0102030405 000000 0100 0900") + "raw bytes"));
  client.request.send("what is this?!, I ask");
  EXPECT_TRUE(client.request.is_closed_by_peer());
  EXPECT_THAT(wait_for_capture("what is this?!"), HasSubstr("bad marker"));
  client.event.send(test::message_bytes(15, "12345678").substr(0, 20));
  client.event.close();
  wait_for_capture("closed inside a message");
}

// The bytes may be a request that is shifted, or the end of one.
TEST_F(SimCapture, WhatIsNoMessageIsMasked) {
  start_capture();
  RawClient client = register_client();
  client.request.send("x" + test::message_bytes(5, login_body()));
  EXPECT_TRUE(client.request.is_closed_by_peer());
  RawClient second = register_client("two2");
  second.request.send(test::message_bytes(10) + "TopSecretPassword");
  EXPECT_TRUE(second.request.is_closed_by_peer());
  const std::string bytes = final_capture();
  EXPECT_THAT(bytes, HasSubstr(std::string(17, '*') + std::string(3, '\0') + hex("0100 0a00") +
                               "bad marker"));
  EXPECT_THAT(bytes, Not(HasSubstr("x" + hex("01010101"))));
  EXPECT_THAT(bytes, Not(HasSubstr("wonderland")));
  EXPECT_THAT(bytes, Not(HasSubstr("TopS")));
}

// Each request of a batch is a part of one packet.
TEST_F(SimCapture, ABatchIsOnePacket) {
  start_capture();
  RawClient client = register_client();
  const std::string part = test::message_bytes(17);
  client.request.send(test::message_bytes(25, part + part));
  client.request.send(test::message_bytes(3, std::string(8, '\0')));
  client.request.receive_message();
  const std::string bytes = final_capture();
  const std::size_t first = bytes.find(part);
  EXPECT_EQ(bytes.find(part, first + 16), first + 16);
  EXPECT_EQ(bytes.find(part, first + 32), std::string::npos);
}

TEST_F(SimCapture, AKilledSimulatorLeavesAWholeCapture) {
  start_capture();
  RawClient client = register_client();
  for (int i = 0; i < 100; ++i) {
    client.request.send(test::message_bytes(132));
    EXPECT_EQ(client.event.receive(16), kHeartbeat);
  }
  sim_->signal(SIGKILL);
  EXPECT_EQ(sim_->exit_status(), -1);
  const Outcome outcome = dissect({"--json", capture_});
  EXPECT_EQ(outcome.exit_status, 0) << outcome.errors;
  EXPECT_EQ(lines_of(outcome.output), 204u);
}

TEST_F(SimCapture, AFullDiskEndsTheCaptureAndNotTheSimulator) {
  start_sim({"--capture", "/dev/full"});
  EXPECT_EQ(sim_->error_line(), "aaad-sim: the capture ends: /dev/full: No space left on device\n");
  RawClient client = register_client();
  client.request.send(test::message_bytes(3, std::string(8, '\0')));
  EXPECT_NE(client.request.receive_message(), "");
  end_sim();
  EXPECT_EQ(sim_->remaining_errors(), "");
}

// What was written of a block that does not fit is taken back.
TEST_F(SimCapture, AFileThatMayNotGrowStaysReadable) {
  const std::string limited = "ulimit -f 8; exec " AAAD_SIM_PROGRAM " --quiet --directory " +
                              daemon_directory_ + " --capture " + capture_;
  sim_.emplace("/bin/bash", std::vector<std::string>{"-c", "trap '' XFSZ; " + limited});
  EXPECT_THAT(sim_->output_line(), StartsWith("aaad-sim: listening"));
  RawClient client = register_client();
  client.request.send(test::message_bytes(5, std::string(9000, 'x')));
  EXPECT_EQ(sim_->error_line(), "aaad-sim: the capture ends: " + capture_ + ": File too large\n");
  const Outcome outcome = dissect({"--json", capture_});
  EXPECT_EQ(outcome.exit_status, 0) << outcome.errors;
  EXPECT_EQ(lines_of(outcome.output), 4u);
}

TEST_F(SimCapture, IsPrivateEvenIfItWasNot) {
  write_file(capture_, "something longer than the first block of a capture could ever be, or not");
  ::chmod(capture_.c_str(), 0644);
  start_capture();
  struct stat status {};
  EXPECT_EQ(::stat(capture_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_EQ(final_capture().find("something"), std::string::npos);
}

// Neither by one that cannot listen nor by one that listens elsewhere.
TEST_F(SimCapture, AnotherSimulatorDoesNotEmptyIt) {
  start_capture();
  register_client();
  const std::string bytes = wait_for_capture("netd");
  const auto errors_with = [this](const std::string& directory) {
    BoundProgram program(AAAD_SIM_PROGRAM, {"--directory", directory, "--capture", capture_});
    EXPECT_EQ(program.exit_status(), 1);
    return program.remaining_errors();
  };
  EXPECT_EQ(errors_with(daemon_directory_),
            "aaad-sim: " + socket_below(daemon_directory_) + ": Address already in use\n");
  EXPECT_THAT(contents_of(capture_), StartsWith(bytes));
  EXPECT_EQ(errors_with(directory_.path() + "/other"),
            "aaad-sim: " + capture_ + ": another program writes a capture to it\n");
  EXPECT_THAT(contents_of(capture_), StartsWith(bytes));
}

TEST_F(SimCapture, APipeIsRefused) {
  ASSERT_EQ(::mkfifo(capture_.c_str(), 0600), 0);
  const std::string refused =
      "aaad-sim: " + capture_ + ": is neither a regular file nor a character device\n";
  for (const bool is_read : {false, true}) {
    const aaa_sim::FileDescriptor reader(
        is_read ? ::open(capture_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC) : -1);
    BoundProgram program(AAAD_SIM_PROGRAM,
                         {"--directory", daemon_directory_, "--capture", capture_});
    EXPECT_EQ(program.exit_status(), 1);
    EXPECT_EQ(program.remaining_errors(), refused);
  }
}

TEST_F(SimCapture, AFileOfAnotherUserIsRefused) {
  write_file(capture_, "theirs");
  ::chmod(capture_.c_str(), 0666);
  if (::chown(capture_.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "only root gives files away";
  BoundProgram program(AAAD_SIM_PROGRAM, {"--directory", daemon_directory_, "--capture", capture_});
  EXPECT_EQ(program.exit_status(), 1);
  EXPECT_EQ(program.remaining_errors(), "aaad-sim: " + capture_ + ": belongs to another user\n");
  EXPECT_EQ(contents_of(capture_), "theirs");
}

TEST_F(SimCapture, AFileThatCannotBeMadeIsStatus1) {
  BoundProgram program(AAAD_SIM_PROGRAM,
                       {"--directory", daemon_directory_, "--capture", "/nowhere/capture"});
  EXPECT_EQ(program.remaining_errors(), "aaad-sim: /nowhere/capture: No such file or directory\n");
  EXPECT_EQ(program.exit_status(), 1);
}

}  // namespace sim_capture
}  // namespace dissect_test
