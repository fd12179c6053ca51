// What clients tell without being answered, and what is made of it.
#include <gmock/gmock.h>

#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

using testing::ElementsAre;
using testing::Pair;

class RememberedTest : public ClientTest {
 protected:
  // 392 bytes of a user to restore: the id at 0, the name at 16.
  static Bytes restore_record(const Bytes& id, const Bytes& name) {
    Bytes record = id + Bytes(12) + name;
    record.resize(392);
    return record;
  }
};

TEST_F(RememberedTest, RegisteredGroupIsAnsweredWithZeroAndKept) {
  const Bytes body = hex("05000000 07000000") + text("radius1") + hex("00");
  EXPECT_EQ(ask(13, body), hex("01010101 00000000 6c000000 04000000  00000000"));
  const aaa_sim::RegisteredGroup group{5, 7};
  EXPECT_THAT(sim_.memory().groups, ElementsAre(Pair("radius1", group)));
}

TEST_F(RememberedTest, RadiusGroupStatesAndChangesAreKept) {
  tell(16, hex("0100 0400") + text("rad") + hex("00 0200 0400 03000000"));
  tell(17, {});
  tell(17, {});
  EXPECT_THAT(sim_.memory().radius_group_states, ElementsAre(Pair("rad", 3u)));
  EXPECT_EQ(sim_.memory().radius_group_changes, 2u);
}

TEST_F(RememberedTest, SynchronisedUserIsKnownUntilItIsDeleted) {
  tell(10, hex("01000000 2a000000 03000000 04000000") + Bytes(16), 42);
  EXPECT_THAT(sim_.memory().users.at(42).words, ElementsAre(1u, 42u, 3u, 4u));
  tell(8, hex("2a000000 09000000"), 42);
  EXPECT_TRUE(sim_.memory().users.empty());
  EXPECT_THAT(sim_.memory().deleted_users, ElementsAre(aaa_sim::DeletedUser{42, 9, false}));
}

TEST_F(RememberedTest, RestoredUserIsKnownUntilItIsMovedOut) {
  const Bytes record = restore_record(hex("2a000000"), text("alice"));
  tell(11, record, 42);
  EXPECT_EQ(sim_.memory().users.at(42).name(), "alice");
  EXPECT_EQ(sim_.memory().users.at(42).record, record);
  tell(34, hex("2a000000 09000000"), 42);
  EXPECT_TRUE(sim_.memory().users.empty());
  EXPECT_THAT(sim_.memory().deleted_users, ElementsAre(aaa_sim::DeletedUser{42, 9, true}));
}

TEST_F(RememberedTest, HotBackupUserIsKnownByTheIdInTheHeader) {
  tell(20, restore_record(hex("01000000"), text("bob")), 43);
  EXPECT_EQ(sim_.memory().users.at(43).name(), "bob");
  EXPECT_FALSE(sim_.memory().users.contains(1));
}

TEST_F(RememberedTest, ClearedSessionIsReadMostSignificantByteFirst) {
  tell(19, hex("01020304"));
  EXPECT_THAT(sim_.memory().cleared_sessions, ElementsAre(0x01020304u));
}

TEST_F(RememberedTest, ClearedSessionGetsNoAnswerThatWasDelayed) {
  sim_.change([](Settings& settings) { settings.delay = std::chrono::milliseconds(50); });
  client_.request.send(framed(6, {}, 42) + framed(6, {}, 43) + framed(19, hex("0000002a")));
  EXPECT_EQ(word_at(client_.event.receive_message(), 4), 43u);
  EXPECT_EQ(sim_.count(sent(103)), 1u);
}

TEST_F(RememberedTest, RareResultIsKeptBySession) {
  // The code at 0 and the session id at 572 of a block of 1280 bytes.
  Bytes block(1280);
  block[0] = 1;
  block[572] = 42;
  tell(4, hex("0100 0005") + block, 42);
  EXPECT_THAT(sim_.memory().rare_results, ElementsAre(Pair(42u, 1u)));
}

TEST_F(RememberedTest, RadextRequestIsAnsweredWithAPush) {
  // num_a at 152, num_b at 156, text_a at 288.
  Bytes block = Bytes(152) + hex("05000000 06000000") + Bytes(128) + text("mac");
  block.resize(2784);
  client_.request.send(framed(23, block));
  EXPECT_EQ(client_.event.receive_message(),
            hex("01010101 00000000 7d000000 18000000  05000000 06000000") + Bytes(16));
  EXPECT_THAT(sim_.memory().radext_requests, ElementsAre(aaa_sim::RadextRequest{5, 6, "mac"}));
}

TEST_F(RememberedTest, RadextResultsStatisticsAndControlsAreKept) {
  tell(24, hex("01000000 02000000 03000000 04000000 05000000 06000000"), 4);
  tell(21, hex("07000000 08000000"));
  tell(28, hex("09000000 0a000000 0b000000"));
  EXPECT_THAT(sim_.memory().radext_results, ElementsAre(ElementsAre(1, 2, 3, 4, 5, 6)));
  EXPECT_THAT(sim_.memory().dot1x_statistics, ElementsAre(ElementsAre(7, 8)));
  EXPECT_THAT(sim_.memory().interface_controls, ElementsAre(ElementsAre(9, 10, 11)));
}

TEST_F(RememberedTest, AnswersOnTheEventSocketAreKept) {
  client_.event.send(framed(14, hex("ffffffff")) + framed(15, hex("0102030405060708")));
  ASSERT_TRUE(sim_.wait_for_message(received(15, Role::event)));
  EXPECT_THAT(sim_.memory().group_verdicts, ElementsAre(-1));
  EXPECT_THAT(sim_.memory().online_infos, ElementsAre(ElementsAre(1, 2, 3, 4, 5, 6, 7, 8)));
}

TEST_F(RememberedTest, PasswordUpdateResultIsKeptByItsCode) {
  tell(27, hex("05000000 02000000"), 5);
  EXPECT_THAT(sim_.memory().password_results, ElementsAre(Pair(5u, 2u)));
}

TEST_F(RememberedTest, BodyCutShortIsRemarkedAndForgotten) {
  struct Cut {
    std::uint8_t type;
    std::size_t size;
  };
  for (const Cut cut : {Cut{4, 1279},
                        {8, 7},
                        {10, 15},
                        {11, 391},
                        {13, 7},
                        {14, 3},
                        {15, 7},
                        {16, 3},
                        {19, 3},
                        {20, 391},
                        {21, 7},
                        {23, 2783},
                        {24, 23},
                        {27, 7},
                        {28, 11},
                        {33, 23},
                        {34, 7}}) {
    client_.request.send(framed(cut.type, Bytes(cut.size, 0xff)));
    EXPECT_TRUE(sim_.wait_for_note("message " + std::to_string(cut.type) + ": "));
  }
  EXPECT_EQ(describe(sim_.memory()), "");
  EXPECT_TRUE(client_.request.stays_silent(std::chrono::milliseconds(20)));
}

TEST_F(RememberedTest, EverythingIsListedInLines) {
  tell(13, hex("05000000 07000000") + text("rad") + hex("00"));
  tell(17, {});
  tell(11, restore_record(hex("2a000000"), text("alice")));
  tell(34, hex("2b000000 09000000"));
  tell(27, hex("05000000 02000000"));
  tell(21, hex("07000000 08000000"));
  EXPECT_EQ(describe(sim_.memory()),
            "group rad 5 7\n"
            "radius group changes 1\n"
            "user 42 alice 0 0 0 0\n"
            "moved out user 43 9\n"
            "password update 5 status 2\n"
            "dot1x 7 8\n");
}

}  // namespace
}  // namespace aaa_sim_test
