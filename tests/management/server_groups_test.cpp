// Server groups: registering one, telling of its state.
#include "session/state/client_state.h"
#include "support/linked_test.h"

namespace {

using test::hex;
using test::message_bytes;
using test::word_bytes;

class ServerGroups : public test::LinkedTest {
 protected:
  std::uint32_t register_group(const std::string& answer) {
    aaad_answers(answer);
    return aaa_register_group(1, "grp", 2);
  }
};

TEST_F(ServerGroups, TheThirdArgumentTravelsFirst) {
  register_group(message_bytes(108, word_bytes(0)));
  EXPECT_EQ(hex("02000000 01000000 67727000"), only_write().substr(16));
}

TEST_F(ServerGroups, OnlyAWordOf0MeansRegistered) {
  EXPECT_EQ(1u, register_group(message_bytes(108, word_bytes(0))));
  EXPECT_EQ(0u, register_group(message_bytes(108, word_bytes(1))));
  EXPECT_EQ(0u, register_group(message_bytes(108, word_bytes(0x01000000))));
  EXPECT_EQ(0u, register_group(message_bytes(108, word_bytes(0xffffffff))));
}

TEST_F(ServerGroups, AnAnswerOfAnotherLengthMeansNotRegistered) {
  for (const std::size_t length : {0, 1, 3, 5, 8})
    EXPECT_EQ(0u, register_group(message_bytes(108, std::string(length, '\0')))) << length;
}

TEST_F(ServerGroups, ANullNameIsNotRegistered) {
  EXPECT_EQ(0u, aaa_register_group(1, nullptr, 2));
  EXPECT_TRUE(writes().empty());
}

TEST_F(ServerGroups, ANullNameIsNotLookedAtBeforeTheRegistrationOfTheClient) {
  aaa::set_reg_state(AAA_REG_LOST);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(0u, aaa_register_group(1, nullptr, 2));
  EXPECT_EQ(1u, log.count("already unregistered or not registered or is connecting!\r\n"));
}

TEST_F(ServerGroups, AnEmptyNameTravelsAsItsNul) {
  aaad_answers(message_bytes(108, word_bytes(0)));
  EXPECT_EQ(1u, aaa_register_group(1, "", 2));
  EXPECT_EQ(hex("09000000 02000000 01000000 00"), only_write().substr(12));
}

TEST_F(ServerGroups, AStateTravelsInTwoItemsAndTheNameHasItsNul) {
  aaa_set_rds_grp_sta("radius", 3);
  EXPECT_EQ(hex("01010101 00000000 10000000 13000000"
                "0100 0700 72616469757300 0200 0400 03000000"),
            only_write());
}

TEST_F(ServerGroups, TheStateOfAGroupWithoutANameIsSent) {
  aaa_set_rds_grp_sta("", 3);
  EXPECT_EQ(hex("0100 0100 00 0200 0400 03000000"), only_write().substr(16));
}

TEST_F(ServerGroups, ANameOf65535CharactersIsSentWhole) {
  const std::string name(65535, 'g');
  aaa_set_rds_grp_sta(name.c_str(), 3);
  EXPECT_EQ(65548u, test::word_at(only_write(), 12));
  EXPECT_EQ(name + '\0' + hex("0200 0400 03000000"), only_write().substr(20));
}

TEST_F(ServerGroups, NothingIsSentForANullName) {
  aaa_set_rds_grp_sta(nullptr, 3);
  EXPECT_TRUE(writes().empty());
}

TEST_F(ServerGroups, AChangeIsAHeaderAlone) {
  EXPECT_EQ(0, aaa_rds_grp_sta_chg());
  EXPECT_EQ(hex("01010101 00000000 11000000 00000000"), only_write());
}

TEST_F(ServerGroups, AChangeReturns0AlsoWhenTheSendFails) {
  next_write_fails(EPIPE);
  EXPECT_EQ(0, aaa_rds_grp_sta_chg());
}

}  // namespace
