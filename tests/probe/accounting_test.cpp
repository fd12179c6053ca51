// aaa-probe acct.
#include "probe_fixture.h"

namespace probe_test {
namespace {

class ProbeAccounting : public ProbeTest {};

TEST_F(ProbeAccounting, EachKindIsItsCode) {
  const std::string accepted = "result: accepted\nsession: 7\n";
  expect(run({"acct", "start", "alice", "--session", "7"}), 0, accepted);
  expect(run({"acct", "interim", "alice", "--session", "7"}), 0, accepted);
  expect(run({"--json", "acct", "stop", "alice", "--session", "7"}), 0,
         R"({"result":"accepted","session":7})"
         "\n");
  std::string kinds;
  for (const auto& report : sim_.reports().acct_reports)
    kinds += std::to_string(report.kind);
  EXPECT_EQ(kinds, "132");
}

TEST_F(ProbeAccounting, EveryOptionIsAFieldOfTheReport) {
  const Outcome outcome = run({"acct",        "stop",
                               "alice",       "--session",
                               "7",           "--class",
                               "staff",       "--seconds",
                               "010",         "--octets-in",
                               "0x100000002", "--octets-out",
                               "12884901892", "--packets-in",
                               "5",           "--packets-out",
                               "6",           "--terminate-cause",
                               "8",           "--delay",
                               "9",           "--nas-port-id",
                               "tty7",        "--called-station",
                               "here",        "--calling-station",
                               "there",       "--chargeable-user-identity",
                               "cui"});
  EXPECT_EQ(outcome.errors, "");
  const std::string bytes = message_of(7);
  EXPECT_EQ(test::word_at(bytes, 4), 7u);
  const std::string block = bytes.substr(16 + 4);
  EXPECT_EQ(block[4], 2);
  EXPECT_EQ(block.substr(26, 5), test::hex("74747937 00"));
  EXPECT_EQ(block.substr(159, 6), std::string("alice\0", 6));
  EXPECT_EQ(test::word_at(block, 356), 1u);  // octets in, the high word
  EXPECT_EQ(test::word_at(block, 360), 2u);
  EXPECT_EQ(test::word_at(block, 364), 4u);  // octets out
  EXPECT_EQ(test::word_at(block, 368), 8u);
  EXPECT_EQ(test::word_at(block, 372), 10u);
  EXPECT_EQ(test::word_at(block, 408), 7u);
  EXPECT_EQ(test::word_at(block, 412), 3u);
  EXPECT_EQ(test::word_at(block, 436), 5u);
  EXPECT_EQ(test::word_at(block, 440), 6u);
  EXPECT_EQ(test::word_at(block, 524), 9u);
  EXPECT_EQ(block.substr(528, 6), std::string("there\0", 6));
  EXPECT_EQ(block.substr(664, 5), std::string("here\0", 5));
  const std::string items = block.substr(772);
  EXPECT_THAT(items, HasSubstr(test::item_bytes(25, "staff")));
  EXPECT_THAT(items, HasSubstr(test::item_bytes(89, "cui")));
}

TEST_F(ProbeAccounting, AClassCanBeHexadecimal) {
  EXPECT_EQ(run({"acct", "start", "alice", "--session", "7", "--class-hex", "00ff"}).exit_status,
            0);
  EXPECT_THAT(message_of(7), HasSubstr(test::item_bytes(25, test::hex("00ff"))));
}

TEST_F(ProbeAccounting, ARefusedReportIsStatusOne) {
  sim_.set_answer(7, answer_with(1));
  expect(run({"acct", "interim", "alice", "--session", "7"}), 1, "result: rejected\nsession: 7\n");
}

TEST_F(ProbeAccounting, TheSessionIsRequired) {
  expect(run({"acct", "start", "alice"}), 64, "", "aaa-probe: --session is required\n");
  expect(run({"acct", "start", "alice", "--session", "0"}), 64, "",
         "aaa-probe: --session: '0' is not a number from 1 to 4294967295\n");
}

// Each with a session of its own.
TEST_F(ProbeAccounting, RepeatedReportsHaveTheFollowingSessions) {
  const Outcome outcome =
      run({"acct", "start", "alice", "--session", "7", "--repeat", "3", "--json"});
  EXPECT_EQ(outcome.exit_status, 0) << outcome.errors;
  EXPECT_THAT(outcome.output, testing::StartsWith(R"({"requests":3,"accepted":3,)"));
  std::vector<std::uint32_t> sessions;
  for (const auto& report : sim_.reports().acct_reports)
    sessions.push_back(report.session_id);
  EXPECT_THAT(sessions, testing::ElementsAre(7, 8, 9));
}

}  // namespace
}  // namespace probe_test
