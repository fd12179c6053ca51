// Addresses as text.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "aaa_client.h"

namespace test::address_text {

static_assert(sizeof(aaa_address) == 24);
static_assert(offsetof(aaa_address, family) == 0);
static_assert(offsetof(aaa_address, ipv4) == 4);
static_assert(offsetof(aaa_address, ipv6) == 8);

class AddressText : public testing::Test {
 protected:
  AddressText() { std::memset(buffer_, '#', sizeof buffer_); }

  std::string text_of(std::uint16_t family, std::uint32_t ipv4, const std::string& ipv6 = "") {
    aaa_address address = {};
    address.family = family;
    address.ipv4 = ipv4;
    std::memcpy(address.ipv6, ipv6.data(), ipv6.size());
    EXPECT_EQ(buffer_, aaa_ipstr(&address, buffer_));
    return buffer_;
  }
  // How far the buffer has been written.
  std::size_t written() const { return std::string(buffer_, sizeof buffer_).find('#'); }

  char buffer_[64];
};

TEST_F(AddressText, OfFamily2IsDottedAndTakes16BytesAtMost) {
  EXPECT_EQ("10.20.30.40", text_of(2, 0x0A141E28));
  EXPECT_EQ("0.0.0.0", text_of(2, 0));
  EXPECT_EQ("255.255.255.255", text_of(2, 0xFFFFFFFF));
  EXPECT_EQ(16u, written());
}

TEST_F(AddressText, OfFamily10IsHexadecimalAndTakes46BytesAtMost) {
  const std::string address("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01", 16);
  EXPECT_EQ("2001:db8::1", text_of(10, 0, address));
  EXPECT_EQ("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", text_of(10, 0, std::string(16, '\xff')));
  EXPECT_LE(written(), 46u);
}

TEST_F(AddressText, OfAnyOtherFamilyIsUnknown) {
  for (const std::uint16_t family : {std::uint16_t{0}, std::uint16_t{7}, std::uint16_t{65535}})
    EXPECT_EQ("Unknown family", text_of(family, 0x01020304));
  EXPECT_EQ(15u, written());
}

TEST_F(AddressText, OfAnIpv4WordIsDottedToo) {
  EXPECT_EQ(buffer_, aaa_ipv4str(0xC0A80001, buffer_));
  EXPECT_STREQ("192.168.0.1", buffer_);
  aaa_ipv4str(0xFFFFFFFF, buffer_);
  EXPECT_STREQ("255.255.255.255", buffer_);
  EXPECT_EQ(16u, written());
}

}  // namespace test::address_text
