// What clients report.
#include "tools/sim_fixture.h"
#include "wire/records.h"

namespace aaa_sim_test {
namespace {

using testing::Pair;
using ReportsTest = ClientTest;

// A record of 392 bytes with the name at 16.
std::string user_record(const std::string& id, const char* name) {
  std::string record = id + zeros(12) + name;
  record.resize(392);
  return record;
}

TEST_F(ReportsTest, RegisteredGroupIsKeptAndAnsweredWithZero) {
  const std::string body = hex("05000000 07000000") + "radius1" + hex("00");
  EXPECT_EQ(ask(13, body), message_bytes(108, zeros(4)));
  EXPECT_THAT(sim_.reports().groups, ElementsAre(Pair("radius1", aaa_sim::RegisteredGroup{5, 7})));
}

TEST_F(ReportsTest, SynchronisedUserIsKnownUntilItIsDeleted) {
  tell(10, hex("01000000 2a000000 03000000 04000000") + zeros(16), 42);
  EXPECT_THAT(sim_.reports().users.at(42).words, ElementsAre(1u, 42u, 3u, 4u));
  tell(8, hex("2a000000 09000000"), 42);
  EXPECT_TRUE(sim_.reports().users.empty());
  EXPECT_THAT(sim_.reports().deleted_users, ElementsAre(aaa_sim::DeletedUser{42, 9, false}));
}

TEST_F(ReportsTest, RestoredUserIsKnownUntilItIsMovedOut) {
  const std::string record = user_record(hex("2a000000"), "alice");
  tell(11, record, 42);
  EXPECT_EQ(sim_.reports().users.at(42).name(), "alice");
  EXPECT_EQ(sim_.reports().users.at(42).record, Bytes(record.begin(), record.end()));
  tell(34, hex("2a000000 09000000"), 42);
  EXPECT_TRUE(sim_.reports().users.empty());
  EXPECT_THAT(sim_.reports().deleted_users, ElementsAre(aaa_sim::DeletedUser{42, 9, true}));
}

TEST_F(ReportsTest, BackedUpUserIsKnownByTheIdInTheHeader) {
  tell(20, user_record(hex("01000000"), "bob"), 43);
  EXPECT_EQ(sim_.reports().users.at(43).name(), "bob");
  EXPECT_FALSE(sim_.reports().users.contains(1));
}

TEST_F(ReportsTest, RareResultIsKeptBySession) {
  // The code at 0 and the session id at 572 of a block of 1280 bytes.
  const std::string block = word_bytes(1) + zeros(568) + word_bytes(42) + zeros(704);
  tell(4, item_bytes(1, block), 42);
  EXPECT_THAT(sim_.reports().rare_results, ElementsAre(Pair(42u, 1u)));
}

TEST_F(ReportsTest, RadextRequestIsAnsweredOnTheEventConnection) {
  // num_a at 152, num_b at 156, text_a at 288.
  std::string block = zeros(152) + hex("05000000 06000000") + zeros(128) + "mac";
  block.resize(2784);
  client_.request.send(message_bytes(23, block));
  EXPECT_EQ(client_.event.receive_message(),
            message_bytes(125, hex("05000000 06000000") + zeros(16)));
  EXPECT_THAT(sim_.reports().radext_requests, ElementsAre(aaa_sim::RadextRequest{5, 6, "mac"}));
}

TEST_F(ReportsTest, LdapAnswerOfAClientIsKept) {
  const std::string entry = hex("3601 1200") + word_bytes(1) + item_bytes(311, "cn=b") +
                            item_bytes(312, "n") + item_bytes(313, "w");
  tell(33, word_bytes({42, 1, 0, 0, 1, 0}) + item_bytes(309, "") + item_bytes(306, "") + entry, 42);
  const aaa_sim::LdapAnswer expected{
      .session_id = 42, .code = 1, .entries = {{"cn=b", {{"n", "w"}}}}};
  EXPECT_THAT(sim_.reports().ldap_answers, ElementsAre(expected));
}

std::string accounting(std::uint32_t kind) {
  acct_info record{};
  record.session_id = 7;
  record.code_a = kind;
  aaa_sim::set_text(record.chars65_a, "alice");
  record.num_b = 60;
  record.num_c = 1000;
  record.num_d = 5;
  record.num_e = 1;
  record.num_g = 2;
  const Bytes body = aaa_sim::encode(record);
  return {body.begin(), body.end()};
}

TEST_F(ReportsTest, AccountingIsKeptListedAndAccepted) {
  for (const std::uint32_t kind : {1u, 3u, 2u}) {
    client_.request.send(message_with_id(7, 7, accounting(kind)));
    const std::string result = client_.event.receive_message();
    EXPECT_EQ(word_at(result, 8), 103u);
    EXPECT_EQ(word_at(result, 16 + 4), 0u);
    EXPECT_EQ(word_at(result, 16 + 576), 7u);
  }
  const auto reports = sim_.reports().acct_reports;
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[2], (aaa_sim::AcctReport{.session_id = 7,
                                             .kind = 2,
                                             .user = "alice",
                                             .seconds = 60,
                                             .octets_in = 1000,
                                             .octets_out = 0x200000005,
                                             .terminate_cause = 1}));
  EXPECT_THAT(describe(sim_.reports()),
              HasSubstr("accounting start session 7 user alice\n"
                        "accounting interim session 7 user alice seconds 60 in 1000 out "
                        "8589934597\n"
                        "accounting stop session 7 user alice seconds 60 in 1000 out "
                        "8589934597 cause 1\n"));
}

TEST_F(ReportsTest, MalformedAccountingHasNoAnswer) {
  client_.request.send(message_with_id(7, 7, zeros(5)));
  EXPECT_TRUE(sim_.wait_for_note("malformed accounting request"));
  EXPECT_TRUE(client_.event.stays_silent());
  EXPECT_TRUE(sim_.reports().acct_reports.empty());
}

TEST_F(ReportsTest, LastAccountingReportsAreKept) {
  constexpr std::size_t extra = 5;
  for (std::size_t n = 0; n < aaa_sim::Reports::kMaxAcctReports + extra; ++n) {
    client_.request.send(message_with_id(7, 7, accounting(n < extra ? 1 : 3)));
    client_.event.receive_message();
  }
  const auto reports = sim_.reports().acct_reports;
  EXPECT_EQ(reports.size(), aaa_sim::Reports::kMaxAcctReports);
  EXPECT_EQ(reports.front().kind, 3u);
}

TEST_F(ReportsTest, ReportsAreListedInLines) {
  tell(13, hex("05000000 07000000") + "rad" + hex("00"));
  tell(16, item_bytes(1, "rad" + zeros(1)) + item_bytes(2, word_bytes(3)));
  tell(17);
  tell(17);
  client_.event.send(message_bytes(14, hex("ffffffff")) +
                     message_bytes(15, hex("0102030405060708")));
  ASSERT_TRUE(sim_.wait_for_message(received(15, Role::event)));
  tell(11, user_record(hex("2a000000"), "alice"));
  tell(34, hex("2b000000 09000000"));
  tell(19, hex("01020304"));
  tell(24, hex("01000000 02000000 03000000 04000000 05000000 06000000"));
  tell(27, hex("05000000 02000000"));
  tell(28, hex("09000000 0a000000 0b000000"));
  tell(21, hex("07000000 08000000"));
  EXPECT_EQ(describe(sim_.reports()),
            "group rad 5 7\n"
            "radius group rad state 3\n"
            "radius group changes 2\n"
            "group verdict -1\n"
            "user 42 alice 0 0 0 0\n"
            "moved out user 43 9\n"
            "cleared session 16909060\n"
            "radext result 1 2 3 4 5 6\n"
            "password update 5 status 2\n"
            "interface control 9 10 11\n"
            "dot1x 7 8\n"
            "online info 1 2 3 4 5 6 7 8\n");
}

}  // namespace
}  // namespace aaa_sim_test
