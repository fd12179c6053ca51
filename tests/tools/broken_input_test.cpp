// Clients that send what no client should.
#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

class BrokenInputTest : public ClientTest {
 protected:
  void expect_it_goes_on() {
    RawConnection next = connect();
    next.send(register_request());
    EXPECT_EQ(next.receive(20).size(), 20u);
  }
};

TEST_F(BrokenInputTest, WrongMarkerClosesTheConnection) {
  client_.request.send(hex("01010102 00000000 84000000 00000000"));
  EXPECT_TRUE(client_.request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("bad marker"));
  EXPECT_EQ(sim_.count(received(132)), 0u);
  expect_it_goes_on();
}

TEST_F(BrokenInputTest, HugeLengthClosesTheConnection) {
  client_.request.send(hex("01010101 00000000 05000000 ffffffff"));
  EXPECT_TRUE(client_.request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("bad body length"));
  expect_it_goes_on();
}

TEST_F(BrokenInputTest, MessageCutShortIsDropped) {
  client_.request.send(hex("01010101 00000000 05000000 10000000 0011"));
  client_.request.close();
  EXPECT_TRUE(sim_.wait_for_note("closed inside a message"));
  EXPECT_EQ(sim_.count(received(5)), 0u);
  expect_it_goes_on();
}

TEST_F(BrokenInputTest, HalfAHeaderIsDropped) {
  client_.request.send(hex("010101"));
  client_.request.close();
  EXPECT_TRUE(sim_.wait_for_note("closed inside a message"));
  expect_it_goes_on();
}

TEST_F(BrokenInputTest, BatchCutShortIsAnsweredUpToTheCut) {
  client_.request.send(hex("01010101 00000000 19000000 18000000") +
                       hex("01010101 00000000 84000000 00000000") + hex("01010101 00000000"));
  EXPECT_EQ(client_.event.receive(16), hex("01010101 00000000 84000000 00000000"));
  EXPECT_TRUE(client_.request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("broken batch"));
  expect_it_goes_on();
}

TEST_F(BrokenInputTest, BatchInABatchIsNotUnpacked) {
  client_.request.send(hex("01010101 00000000 19000000 20000000") +
                       hex("01010101 00000000 19000000 10000000") +
                       hex("01010101 00000000 84000000 00000000"));
  EXPECT_TRUE(sim_.wait_for_message(received(25), std::chrono::milliseconds(5000), 1));
  EXPECT_EQ(sim_.count(received(132)), 0u);
}

TEST_F(BrokenInputTest, EmptyRecordsAreRejectedNotFollowed) {
  client_.request.send(hex("01010101 2a000000 05000000 00000000"));
  const Bytes result = client_.event.receive_message();
  EXPECT_EQ(word_at(result, 8), 103u);
  EXPECT_EQ(word_at(result, 20), 1u);
}

TEST_F(BrokenInputTest, ClientThatDoesNotReadDoesNotHoldUpOthers) {
  const Bytes large(1u << 20, 0x5a);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(sim_.send_message({}, Role::event, 200, 0, large), 1u);
  expect_it_goes_on();
  EXPECT_EQ(client_.event.receive_message().size(), large.size() + 16);
}

}  // namespace
}  // namespace aaa_sim_test
