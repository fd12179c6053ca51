// The program aaa-dissect with a capture: options, output and exit status.
#include <nlohmann/json.hpp>

#include "dissect/dissect_fixture.h"

namespace dissect_test {
namespace program {

using Json = nlohmann::json;

const std::string kStart = kSection + interface();
const std::string kNamed =
    kSection + interface("9300", "0200 0500 6576656e74000000 0300 0600 6e6574642f370000");
constexpr const char* kInbound = "0200 0400 01000000";
constexpr const char* kOutbound = "0200 0400 02000000";

class DissectProgram : public testing::Test {
 protected:
  std::string file_with(const std::string& bytes) const {
    const std::string path = directory_.path() + "/capture";
    write_file(path, bytes);
    return path;
  }

  const test::TemporaryDirectory directory_;
};

TEST_F(DissectProgram, PrintsALineOfTextForAHeartbeat) {
  const Outcome outcome = dissect({file_with(kNamed + packet(kHeartbeat, kOutbound))});
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.output, StartsWith("1970-01-01T00:00:00.000000003Z netd/7 132 (heartbeat) id "
                                         "0, 0 bytes, from aaad on the event "
                                         "socket\n"));
}

TEST_F(DissectProgram, PrintsAnObjectForEachMessage) {
  const Outcome outcome = dissect(
      {"--json", file_with(kNamed + packet(kHeartbeat, kInbound) + packet(kHeartbeat, kOutbound))});
  EXPECT_EQ(outcome.exit_status, 0);
  const auto lines = split_lines(outcome.output);
  ASSERT_EQ(lines.size(), 2u);
  const Json first = Json::parse(lines[0]), second = Json::parse(lines[1]);
  EXPECT_EQ(first["time"], "1970-01-01T00:00:00.000000003Z");
  EXPECT_EQ(first["from"], "client");
  EXPECT_EQ(first["socket"], "event");
  EXPECT_EQ(first["client"], "netd/7");
  EXPECT_EQ(first["type"], 132);
  EXPECT_EQ(second["from"], "aaad");
}

TEST_F(DissectProgram, ReadsStandardInputAndPrintsWhatHasCome) {
  BoundProgram program(AAA_DISSECT_PROGRAM, {"--json"});
  program.type(kNamed + packet(kHeartbeat), "");
  EXPECT_THAT(program.output_line(), HasSubstr("heartbeat"));
  const std::string more = packet(kHeartbeat);
  program.type(more.substr(0, 30), "");
  program.type(more.substr(30), "");
  EXPECT_THAT(program.output_line(), HasSubstr("heartbeat"));
  program.close_input();
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(DissectProgram, ACutCaptureIsOneLineAndWhatCouldBeRead) {
  const std::string whole = kStart + packet(kHeartbeat);
  const std::string path = file_with(whole + packet(kHeartbeat).substr(0, 40));
  const Outcome outcome = dissect({path});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_EQ(outcome.errors,
            "aaa-dissect: " + path + ": cut at byte " + std::to_string(whole.size()) + "\n");
  EXPECT_THAT(outcome.output, HasSubstr("heartbeat"));
  EXPECT_EQ(dissect({}, whole.substr(0, 50)).errors,
            "aaa-dissect: standard input: cut at byte 28\n");
}

TEST_F(DissectProgram, OtherLinkTypesAreLeftOut) {
  const std::string ethernet = kSection + interface("0100") + packet("abc") + packet("def");
  const Outcome outcome = dissect({file_with(ethernet + kStart + packet(kHeartbeat))});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.errors,
              EndsWith(": 2 packets of another link type than USER0 are left out\n"));
  EXPECT_EQ(lines_of(outcome.errors), 1u);
  EXPECT_THAT(outcome.output, HasSubstr("heartbeat"));
}

TEST_F(DissectProgram, PacketsInOtherBlocksAreLeftOut) {
  const std::string simple = block(3, hex("10000000") + kHeartbeat);
  const std::string obsolete = block(2, word_bytes({0, 0, 3, 16, 16}) + kHeartbeat);
  const Outcome outcome = dissect({file_with(kStart + simple + obsolete + packet(kHeartbeat))});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_EQ(outcome.errors, "aaa-dissect: " + directory_.path() +
                                "/capture: 2 packets in other blocks than Enhanced Packet Blocks "
                                "are left out\n");
  EXPECT_THAT(outcome.output, HasSubstr("heartbeat"));
}

TEST_F(DissectProgram, ACutCaptureStillSaysWhatIsLeftOut) {
  const std::string start =
      kSection + interface("0100") + packet("abc") + block(3, hex("10000000") + kHeartbeat);
  const Outcome outcome = dissect({file_with(start + packet(kHeartbeat).substr(0, 40))});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.errors,
              EndsWith(": cut at byte " + std::to_string(start.size()) +
                       ", 1 packet of another link type than USER0 is left out, 1 packet in "
                       "other blocks than Enhanced Packet Blocks is left out\n"));
  EXPECT_EQ(lines_of(outcome.errors), 1u);
}

TEST_F(DissectProgram, AClosedOutputIsAnError) {
  const std::string path = file_with(kStart + packet(kHeartbeat));
  BoundProgram program("/bin/bash",
                       {"-c", std::string("exec ") + AAA_DISSECT_PROGRAM + " " + path + " >&-"});
  EXPECT_EQ(program.remaining_errors(), "aaa-dissect: standard output: Bad file descriptor\n");
  EXPECT_EQ(program.exit_status(), 1);
}

TEST_F(DissectProgram, WhatIsNoCaptureIsOneLine) {
  const std::string inputs[] = {"", "x", std::string(1000, 'x'), std::string(1000, '\0'),
                                hex("d4c3b2a1 0200 0400") + std::string(16, '\0')};
  for (const std::string& input : inputs) {
    const Outcome outcome = dissect({file_with(input)});
    EXPECT_EQ(outcome.exit_status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, EndsWith("/capture: no pcapng capture at byte 0\n"));
  }
  EXPECT_EQ(dissect({"/nowhere/x"}).errors, "aaa-dissect: /nowhere/x: No such file or directory\n");
  const Outcome directory = dissect({directory_.path()});
  EXPECT_EQ(directory.exit_status, 1);
  EXPECT_THAT(directory.errors, EndsWith(": cannot be read\n"));
}

// Whatever the bytes are, each packet is printed and nothing else is said.
TEST_F(DissectProgram, MessagesMayBeAnything) {
  std::string bytes = kStart;
  for (std::uint32_t type = 0; type < 160; ++type)
    for (const std::string& body : {std::string(), std::string(3, '\xff'), std::string(40, '\1')})
      bytes += packet(test::message_bytes(type, body), type % 2 == 0 ? kInbound : kOutbound);
  bytes += packet("") + packet("1234567") + packet(hex("01010101 00000000 05000000 ffffffff"));
  for (const char* option : {"--json", "--secrets"}) {
    const Outcome outcome = dissect({option, file_with(bytes)});
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_GE(lines_of(outcome.output), 483u);
  }
}

TEST_F(DissectProgram, NamesFromACaptureCannotDriveATerminal) {
  const std::string hostile = kSection +
                              interface("9300", "0300 0800 6e0a1b5b32 4a ff7f 0000 0000") +
                              packet(kHeartbeat, "0100 0400 1b5b48c3");
  for (const char* option : {"--json", "--secrets"}) {
    const std::string output = dissect({option, file_with(hostile)}).output;
    EXPECT_THAT(output, HasSubstr("n??[2J??"));
    EXPECT_THAT(output, HasSubstr("?[H?"));
    EXPECT_THAT(output, Not(HasSubstr("\x1b")));
  }
}

TEST_F(DissectProgram, APacketWithoutDirectionSaysSo) {
  EXPECT_THAT(dissect({file_with(kStart + packet(kHeartbeat))}).output,
              EndsWith("! the capture does not say who sent it\n"));
  EXPECT_THAT(dissect({file_with(kStart + packet(kHeartbeat, kInbound))}).output,
              EndsWith("0 bytes, from client\n"));
}

TEST_F(DissectProgram, APacketThatWasCutForTheCaptureSaysSo) {
  const std::string cut = block(6, word_bytes({0, 0, 3, 16, 1000}) + kHeartbeat);
  EXPECT_THAT(dissect({file_with(kStart + cut)}).output,
              HasSubstr("the capture has 16 of 1000 bytes"));
}

TEST_F(DissectProgram, AReaderThatHasSeenEnoughIsNoError) {
  std::string bytes = kStart;
  for (int i = 0; i < 5000; ++i)
    bytes += packet(kHeartbeat);
  BoundProgram program("/bin/bash",
                       {"-c", std::string(AAA_DISSECT_PROGRAM) + " " + file_with(bytes) +
                                  " | head -n 1; echo ${PIPESTATUS[0]}"});
  EXPECT_THAT(program.output_line(), HasSubstr("heartbeat"));
  EXPECT_EQ(program.output_line(), "0\n");
  EXPECT_EQ(program.remaining_errors(), "");
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(DissectProgram, AFullOutputIsAnError) {
  BoundProgram program(AAA_DISSECT_PROGRAM, {file_with(kStart + packet(kHeartbeat))}, "",
                       "/dev/full");
  EXPECT_EQ(program.remaining_errors(), "aaa-dissect: standard output: No space left on device\n");
  EXPECT_EQ(program.exit_status(), 1);
}

TEST_F(DissectProgram, AMisuseIsStatus64AndOneLine) {
  const std::vector<std::string> misuses[] = {{"--nonsense"},
                                              {"a", "b"},
                                              {"--tap"},
                                              {"--write", "x"},
                                              {"--quiet", "x"},
                                              {"-d", "/tmp", "x"},
                                              {"--tap", "/tmp/a"},
                                              {"--tap", "/tmp/a", "-d", "/tmp/b", "x"},
                                              {"--tap", "/tmp/./a", "-d", "/tmp/a"},
                                              {""},
                                              {"--tap", ""},
                                              {"--tap", "/tmp/a", "-d", ""},
                                              {"--tap", "/tmp/a", "-d", "/tmp/b", "--write", ""},
                                              {"--tap", "a", "-d", "/tmp/b"},
                                              {"--tap", "/tmp/a", "-d", "b"}};
  for (const auto& arguments : misuses) {
    const Outcome outcome = dissect(arguments);
    EXPECT_EQ(outcome.exit_status, 64) << arguments[0];
    EXPECT_THAT(outcome.errors, StartsWith("aaa-dissect: "));
    EXPECT_EQ(lines_of(outcome.errors), 1u);
    EXPECT_EQ(outcome.output, "");
  }
}

TEST_F(DissectProgram, HelpAndVersionNeedNoInput) {
  EXPECT_EQ(dissect({"--version"}).output, "aaa-dissect " AAAD_SIM_VERSION "\n");
  const Outcome help = dissect({"--help"});
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_THAT(help.output, HasSubstr("--tap"));
}

}  // namespace program
}  // namespace dissect_test
