#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "codec/bodies.h"

namespace test {
namespace {

using testing::ElementsAre;

TEST(Tlv, NullWritesNothingAndReturns0) {
  Bytes buffer(8, 0xEE);
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 7, nullptr, 0), 0U);
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 7, nullptr, 3), 0U);
  EXPECT_EQ(buffer, Bytes(8, 0xEE));
  EXPECT_EQ(aaa_encap_tlv_data(nullptr, 7, "abc", 3), 0U);
}

TEST(Tlv, ValueFollowsTypeAndLengthAndMayBeEmpty) {
  Bytes buffer(8, 0xEE);
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 0x0102, "", 0), 4U);
  EXPECT_THAT(buffer, ElementsAre(0x02, 0x01, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE));
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 299, "abc", 3), 7U);
  EXPECT_THAT(buffer, ElementsAre(0x2B, 0x01, 3, 0, 'a', 'b', 'c', 0xEE));
}

TEST(Tlv, TypeAndLengthAreStoredTruncatedWhileAllBytesAreCopiedAndCounted) {
  Bytes value(65538, 0x55);
  value.back() = 0x66;
  Bytes buffer(65543, 0xEE);
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 0x12345, value.data(), 65538), 65542U);
  EXPECT_EQ(word16(buffer, 0), 0x2345);
  EXPECT_EQ(word16(buffer, 2), 2);
  EXPECT_EQ(Bytes(buffer.begin() + 4, buffer.begin() + 65542), value);
  EXPECT_EQ(buffer.back(), 0xEE);
}

}  // namespace
}  // namespace test
