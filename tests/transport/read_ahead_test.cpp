// Taking bytes from a socket that were received before they were asked for.
#include "transport/read_ahead.h"

#include "support/library_test.h"

namespace test::read_ahead {

class ReadAheadTest : public testing::Test {
 protected:
  // So many bytes, or the error's number in brackets.
  std::string take(std::size_t length) {
    std::string bytes(length, '\0');
    std::size_t received = 0;
    const std::int32_t error = ahead_.receive(pair_.own(), bytes.data(), length, received);
    return error == 0 ? bytes : "[" + std::to_string(error) + "]";
  }

  const aaa::ScopedLock lock_{aaa::event_read_lock};
  ScriptedPeer pair_;
  std::uint8_t buffer_[16384] = {};
  aaa::ReadAhead ahead_{buffer_, aaa::event_read_lock};
};

TEST_F(ReadAheadTest, OneSystemCallTakesAllThatIsThere) {
  pair_.peer_writes("onetwothree");
  int reads = 0;
  const ScriptedCalls calls({.recv = noting([&] { ++reads; })});
  EXPECT_EQ("one", take(3));
  EXPECT_EQ("two", take(3));
  EXPECT_EQ("three", take(5));
  EXPECT_EQ(1, reads);
}

TEST_F(ReadAheadTest, WhatIsMissingComesFromTheSocket) {
  pair_.peer_writes("begin");
  EXPECT_EQ("be", take(2));
  pair_.peer_writes("ning, end");
  EXPECT_EQ("ginning", take(7));
  EXPECT_EQ(", end", take(5));
}

TEST_F(ReadAheadTest, TellsHowManyBytesItHolds) {
  EXPECT_EQ(0u, ahead_.size());
  pair_.peer_writes("abc");
  EXPECT_EQ("a", take(1));
  EXPECT_EQ(2u, ahead_.size());
  EXPECT_EQ("bc", take(2));
  EXPECT_EQ(0u, ahead_.size());
}

TEST_F(ReadAheadTest, ALongRestIsReadStraightToItsPlaceAndNoFurther) {
  pair_.peer_writes("ab" + std::string(40000, 'x') + "after");
  EXPECT_EQ("ab", take(2));
  EXPECT_EQ(std::string(40000, 'x'), take(40000));
  EXPECT_EQ(0u, ahead_.size());
  EXPECT_EQ(5u, pair_.waiting_for_library());
}

TEST_F(ReadAheadTest, ForgetsEverythingWhenTheConnectionEnds) {
  pair_.peer_writes("old one");
  EXPECT_EQ("old", take(3));
  ahead_.clear();
  pair_.peer_writes("new");
  EXPECT_EQ("new", take(3));
}

TEST_F(ReadAheadTest, NothingOfWhatWasTakenOrForgottenStaysInMemory) {
  pair_.peer_writes("password, secret");
  EXPECT_EQ("password", take(8));
  const auto memory = [this] { return bytes_of(buffer_, sizeof buffer_); };
  EXPECT_EQ(std::string::npos, memory().find("password"));
  EXPECT_NE(std::string::npos, memory().find("secret"));
  ahead_.clear();
  EXPECT_EQ(std::string::npos, memory().find("secret"));
}

TEST_F(ReadAheadTest, AClosedPeerIsABrokenPipeOnceAllIsTaken) {
  pair_.peer_writes("last words");
  pair_.close_peer();
  EXPECT_EQ("last ", take(5));
  EXPECT_EQ("words", take(5));
  EXPECT_EQ("[32]", take(1));
}

TEST_F(ReadAheadTest, AFailedReadLosesTheBytesThatItTook) {
  pair_.peer_writes("partof");
  EXPECT_EQ("part", take(4));
  pair_.close_peer();
  EXPECT_EQ("[32]", take(3)) << "two bytes were there";
  EXPECT_EQ(0u, ahead_.size());
}

}  // namespace test::read_ahead
