// Packets at literal bytes. Those that no RFC prints were computed with Python's hashlib and hmac.
#include "radius/packet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "radius/scripted_server.h"

namespace radius_test {
namespace {

using aaa_sim::View;
using aaa_sim::radius::Attributes;
using aaa_sim::radius::Authenticator;
using aaa_sim::radius::Code;
using aaa_sim::radius::encode_accounting_request;
using aaa_sim::radius::encode_request;
using aaa_sim::radius::Packet;
using aaa_sim::radius::reveal_key;
using aaa_sim::radius::TooLong;
using aaa_sim::radius::Type;

// Of the first example in RFC 2865.
constexpr Authenticator kAuthenticator = {0x0f, 0x40, 0x3f, 0x94, 0x73, 0x97, 0x80, 0x57,
                                          0xbd, 0x83, 0xd5, 0xcb, 0x98, 0xf4, 0x22, 0x7a};

Bytes access_request(const Attributes& attributes) {
  return encode_request(Code::access_request, 0, kAuthenticator, attributes, kSecret);
}

Bytes hidden(const std::string& password) {
  Attributes attributes;
  attributes.add(Type::user_password, password);
  return value_of(access_request(attributes), 2);
}

// RFC 2865, 7.1, with a Message-Authenticator as its first attribute.
TEST(PacketTest, AccessRequest) {
  Attributes attributes;
  attributes.add(Type::user_name, "nemo")
      .add(Type::user_password, "arctangent")
      .add(Type::nas_ip_address, hex("c0a80110"))
      .add(Type::nas_port, 3u);
  EXPECT_EQ(access_request(attributes),
            hex("01 00 004a 0f403f9473978057bd83d5cb98f4227a"
                "5012 8f16b45f90d3494989a4f14f4421c618 0106 6e656d6f"
                "0212 0dbe708d93d413ce3196e43f782a0aee 0406 c0a80110 0506 00000003"));
}

TEST(PacketTest, AccountingRequest) {
  Attributes attributes;
  attributes.add(Type::acct_status_type, 1u).add(Type::acct_session_id, "00000007");
  EXPECT_EQ(encode_accounting_request(9, attributes, kSecret),
            hex("04 09 0024 2ceaf03bcd6c0f42409aa54b77ab669c 2806 00000001"
                "2c0a 3030303030303037"));
}

TEST(PacketTest, PasswordsAreHiddenInBlocks) {
  EXPECT_EQ(hidden(""), hex("6ccc13f9f2ba74ab5fe2e43f782a0aee"));
  EXPECT_EQ(hidden(std::string(16, 'p')), hex("1cbc638982ca04db2f92944f085a7a9e"));
  EXPECT_EQ(hidden(std::string(17, 'p')),
            hex("1cbc638982ca04db2f92944f085a7a9e ec812fbf69deafb47d1a590698e4c68f"));
  const Bytes longest = hidden(std::string(128, 'p'));
  ASSERT_EQ(longest.size(), 128u);
  EXPECT_EQ(part(longest, 0, 16), hex("1cbc638982ca04db2f92944f085a7a9e"));
  EXPECT_EQ(part(longest, 112, 16), hex("5ac36111e1564124f7b3601bf5031a18"));
}

TEST(PacketTest, LongerPasswordsAreRefused) {
  EXPECT_THROW(Attributes().add(Type::user_password, std::string(129, 'p')), TooLong);
}

TEST(PacketTest, ValuesHaveUpTo253Bytes) {
  Attributes attributes;
  attributes.add(Type::state, Bytes(253, 7));
  EXPECT_EQ(value_of(access_request(attributes), 24), Bytes(253, 7));
  EXPECT_THROW(attributes.add(Type::state, Bytes(254)), TooLong);
}

TEST(PacketTest, EapMessageIsSplit) {
  const std::pair<std::size_t, Bytes> cases[] = {
      {0, {}}, {1, {3}}, {253, {255}}, {254, {255, 3}}, {600, {255, 255, 96}}};
  for (const auto& [size, lengths] : cases) {
    Bytes message(size);
    for (std::size_t n = 0; n < size; ++n)
      message[n] = static_cast<std::uint8_t>(n);
    Attributes attributes;
    attributes.add_eap_message(message);
    Bytes sizes;
    for (const auto& attribute : attributes.all())
      sizes.push_back(static_cast<std::uint8_t>(attribute.value.size() + 2));
    EXPECT_EQ(sizes, lengths) << size;
    Packet packet;
    ASSERT_TRUE(packet.decode(access_request(attributes)));
    EXPECT_EQ(packet.eap_message(), message);
  }
}

// Room is kept for the Message-Authenticator and an Acct-Delay-Time, and for the longest password.
TEST(PacketTest, PacketsHaveUpTo4096Bytes) {
  Attributes attributes;
  attributes.add(Type::user_password, "x");
  attributes.add_eap_message(Bytes(15 * 253));
  attributes.add(Type::state, Bytes(4096 - 44 - 130 - 15 * 255 - 2));
  EXPECT_LE(access_request(attributes).size(), 4096u);
  EXPECT_THROW(attributes.add(Type::state, ""), TooLong);
}

TEST(PacketTest, DelayIsAddedOnce) {
  Attributes attributes;
  attributes.delay_by(0);
  EXPECT_TRUE(attributes.all().empty());
  attributes.delay_by(2);
  attributes.delay_by(300);
  ASSERT_EQ(attributes.all().size(), 1u);
  EXPECT_EQ(attributes.all()[0].type, Type::acct_delay_time);
  EXPECT_EQ(attributes.all()[0].value, hex("0000012e"));
}

TEST(PacketTest, MalformedPacketsAreRefused) {
  const Bytes header = hex("02 05 0014") + Bytes(16);
  const auto with_length = [](std::size_t length, std::size_t size) {
    Bytes bytes(size);
    bytes[2] = static_cast<std::uint8_t>(length >> 8);
    bytes[3] = static_cast<std::uint8_t>(length);
    for (std::size_t at = 20; at + 2 <= size; at += 2)
      bytes[at + 1] = 2;
    return bytes;
  };
  const std::pair<const char*, Bytes> malformed[] = {
      {"empty", {}},
      {"19 bytes", part(header, 0, 19)},
      {"length 19", with_length(19, 20)},
      {"length 0", with_length(0, 20)},
      {"length above the datagram", with_length(22, 20)},
      {"length above 4096", with_length(4098, 4098)},
      {"attribute of length 0", hex("02 05 0016") + Bytes(16) + hex("1200")},
      {"attribute of length 1", hex("02 05 0016") + Bytes(16) + hex("1201")},
      {"attribute of one byte", hex("02 05 0015") + Bytes(16) + hex("12")},
      {"attribute past the end", hex("02 05 0016") + Bytes(16) + hex("1203")},
      {"attribute in the padding", hex("02 05 0016") + Bytes(16) + hex("1204 4869")},
  };
  Packet packet;
  ASSERT_TRUE(packet.decode(hex("02 05 0018") + Bytes(16) + hex("1204 4869")));
  for (const auto& [name, bytes] : malformed) {
    EXPECT_FALSE(packet.decode(bytes)) << name;
    EXPECT_EQ(packet.bytes().size(), 24u) << name;
  }
  EXPECT_TRUE(packet.decode(header));
  EXPECT_TRUE(packet.decode(with_length(4096, 4096)));
}

TEST(PacketTest, PaddingIsIgnored) {
  Packet packet;
  ASSERT_TRUE(packet.decode(hex("02 05 0018") + Bytes(16) + hex("1204 4869") + hex("1204 4869")));
  EXPECT_EQ(packet.code(), Code::access_accept);
  EXPECT_EQ(packet.identifier(), 5);
  EXPECT_EQ(packet.bytes().size(), 24u);
  EXPECT_EQ(packet.find_all(Type::reply_message).size(), 1u);
}

TEST(PacketTest, AttributesOutliveTheDatagramAndAMove) {
  Packet packet;
  {
    const Bytes datagram = hex("02 05 0018") + Bytes(16) + hex("1204 4869");
    ASSERT_TRUE(packet.decode(datagram));
  }
  const Packet moved = std::move(packet);
  ASSERT_TRUE(moved.find(Type::reply_message));
  EXPECT_EQ(aaa_sim::text_of(*moved.find(Type::reply_message)), "Hi");
  EXPECT_FALSE(moved.find(Type::state));
}

TEST(PacketTest, NumbersHaveFourBytes) {
  EXPECT_EQ(aaa_sim::radius::number_in(hex("01020304")), 0x01020304u);
  EXPECT_EQ(aaa_sim::radius::number_in(hex("010203")), 0u);
  EXPECT_EQ(aaa_sim::radius::number_in(hex("0102030405")), 0u);
  EXPECT_EQ(aaa_sim::radius::number_in({}), 0u);
}

TEST(PacketTest, KeysAreRevealed) {
  EXPECT_EQ(reveal_key(hex("8001 e74fd77a66159af1c00e2603ed8f8a2d775b72924f399d2c98d1909d856dfa86"
                           "08c3baf92fc0c0313d7dd2b3bb1fe1e7"),
                       kAuthenticator, kSecret),
            hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"));
  EXPECT_EQ(reveal_key(hex("ff02 b2de3a2611019c3443187fba23257def0da7ea4843ed51801649650a3c971e5b"),
                       kAuthenticator, kSecret),
            text("defghijklmnopqrs"));
}

TEST(PacketTest, MalformedKeysAreNot) {
  EXPECT_FALSE(reveal_key({}, kAuthenticator, kSecret));
  EXPECT_FALSE(reveal_key(hex("8001"), kAuthenticator, kSecret));
  EXPECT_FALSE(reveal_key(Bytes(17), kAuthenticator, kSecret));
  EXPECT_FALSE(reveal_key(Bytes(19), kAuthenticator, kSecret));
  // A block of 16 bytes whose first one says that 16 follow.
  EXPECT_FALSE(reveal_key(hex("8001 d74fd67865119ff7c7062f09e6838723"), kAuthenticator, kSecret));
}

}  // namespace
}  // namespace radius_test
