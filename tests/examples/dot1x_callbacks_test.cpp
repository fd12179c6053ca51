// What the sample authenticator's callbacks hand over to its main loop.
#include "dot1x_callbacks.h"

#include <gmock/gmock.h>

#include <string>

namespace {

class Dot1xCallbacksTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(open_news()); }
  void TearDown() override { close_news(); }

  static seen_news hand_over(const std::string& session_class, const std::string& state) {
    return call_on_result(session_class.data(), static_cast<std::uint16_t>(session_class.size()),
                          state.data(), static_cast<std::uint16_t>(state.size()), nullptr, 0);
  }
};

TEST_F(Dot1xCallbacksTest, HandClassAndStateOverWhole) {
  const seen_news seen = hand_over(std::string(253, 'c'), std::string(253, 's'));
  EXPECT_TRUE(seen.is_there);
  EXPECT_FALSE(seen.is_cut);
  EXPECT_EQ(seen.class_size, 253U);
  EXPECT_EQ(seen.state_size, 253U);
  EXPECT_EQ(seen.first_byte_of_class, 'c');
}

TEST_F(Dot1xCallbacksTest, SayThatClassOrStateIsTooLong) {
  EXPECT_TRUE(hand_over(std::string(254, 'c'), "").is_cut);
  EXPECT_TRUE(hand_over("", std::string(254, 's')).is_cut);
  EXPECT_FALSE(hand_over("", "").is_cut);
}

TEST_F(Dot1xCallbacksTest, WipeTheValuesThatTheyWereGiven) {
  std::string values(100, 'k');
  EXPECT_TRUE(call_on_result("c", 1, "", 0, values.data(), 100).is_there);
  EXPECT_EQ(values, std::string(100, '\0'));
}

TEST_F(Dot1xCallbacksTest, DoNotWaitForTheMainLoopAndCountWhatIsLost) {
  constexpr unsigned calls = 2000;
  for (unsigned i = 0; i < calls; ++i)
    call_on_event(i);
  const unsigned lost = lost_so_far();
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(drain_news(), calls - lost);
  EXPECT_EQ(lost_so_far(), 0U);
}

TEST(Dot1xPortTest, OpensForAResultOfItsSessionOnly) {
  EXPECT_TRUE(opens_port(7, 7));
  EXPECT_FALSE(opens_port(7, 8));
  EXPECT_FALSE(opens_port(7, 0)) << "a record of zeros";
  EXPECT_FALSE(opens_port(0, 0)) << "a record of zeros, before the first session";
}

TEST_F(Dot1xCallbacksTest, LeaveNoDescriptorToOtherPrograms) {
  EXPECT_TRUE(news_is_private());
}

}  // namespace
