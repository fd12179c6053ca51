// Statistics exchanged with aaad: of its servers, and of 802.1X.
#include <climits>

#include "session/state/client_state.h"
#include "support/linked_test.h"

namespace {

using test::hex;
using test::message_bytes;
using test::word_bytes;

class StatisticsQueries : public test::LinkedTest {
 protected:
  std::int32_t server_mib(const std::string& answer) {
    aaad_answers(answer);
    return aaa_srv_mib(mib_.data(), 0x01020304);
  }

  const std::string mib_ = std::string(196, 'a') + std::string(196, 'b');
};

TEST_F(StatisticsQueries, TheMibTravelsBeforeTheWord) {
  server_mib(message_bytes(107, word_bytes(0)));
  EXPECT_EQ(hex("01010101 00000000 0c000000 8c010000"), only_write().substr(0, 16));
  EXPECT_EQ(mib_, only_write().substr(16, 392));
  EXPECT_EQ(hex("04030201"), only_write().substr(408));
}

TEST_F(StatisticsQueries, TheAnswersWordIsTheResult) {
  EXPECT_EQ(0, server_mib(message_bytes(107, word_bytes(0))));
  EXPECT_EQ(INT_MAX, server_mib(message_bytes(107, word_bytes(0x7fffffff))));
  EXPECT_EQ(INT_MIN, server_mib(message_bytes(107, word_bytes(0x80000000))));
}

TEST_F(StatisticsQueries, AnAnswerOfAnotherLengthGivesMinus1) {
  for (const std::size_t length : {0, 1, 3, 5, 8})
    EXPECT_EQ(-1, server_mib(message_bytes(107, std::string(length, '\0')))) << length;
}

TEST_F(StatisticsQueries, ANullMibGivesMinus1AndSendsNothing) {
  EXPECT_EQ(-1, aaa_srv_mib(nullptr, 1));
  EXPECT_TRUE(writes().empty());
}

TEST_F(StatisticsQueries, NullIsNotLookedAtBeforeTheRegistration) {
  aaa::set_reg_state(AAA_REG_LOST);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-1, aaa_srv_mib(nullptr, 1));
  EXPECT_EQ(-1, aaa_mib_from_dot1x(nullptr));
  EXPECT_EQ(2u, log.count("already unregistered or not registered or is connecting!\r\n"));
}

TEST_F(StatisticsQueries, NullWordsOf8021XGiveMinus1AndSendNothing) {
  EXPECT_EQ(-1, aaa_mib_from_dot1x(nullptr));
  EXPECT_TRUE(writes().empty());
}

}  // namespace
