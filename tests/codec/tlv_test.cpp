// Items of type, length and value.
#include "codec/codec_test.h"

namespace test {
namespace {

TEST(Tlv, NullWritesNothingAndReturns0) {
  std::string buffer(8, '\xEE');
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 7, nullptr, 0), 0U);
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 7, nullptr, 3), 0U);
  EXPECT_EQ(buffer, std::string(8, '\xEE'));
  EXPECT_EQ(aaa_encap_tlv_data(nullptr, 7, "abc", 3), 0U);
}

TEST(Tlv, ValueFollowsTypeAndLengthAndMayBeEmpty) {
  std::string buffer(8, '\xEE');
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 0x0102, "", 0), 4U);
  EXPECT_EQ(buffer, hex("02 01 00 00 EE EE EE EE"));
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 299, "abc", 3), 7U);
  EXPECT_EQ(buffer, hex("2B 01 03 00 616263 EE"));
}

TEST(Tlv, TypeAndLengthAreStoredTruncatedWhileAllBytesAreCopiedAndCounted) {
  const std::string value = std::string(65537, 'U') + 'f';
  std::string buffer(65543, '\xEE');
  EXPECT_EQ(aaa_encap_tlv_data(buffer.data(), 0x12345, value.data(), 65538), 65542U);
  EXPECT_EQ(buffer, hex("4523 0200") + value + '\xEE');
}

}  // namespace
}  // namespace test
