// Which datagrams are the reply to a request.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "radius/packet.h"
#include "radius/scripted_server.h"

namespace radius_test {
namespace {

using aaa_sim::radius::Attributes;
using aaa_sim::radius::Code;
using aaa_sim::radius::decode_dynamic_request;
using aaa_sim::radius::decode_reply;
using aaa_sim::radius::Defect;
using aaa_sim::radius::encode_response;
using aaa_sim::radius::Exchange;
using aaa_sim::radius::Packet;
using aaa_sim::radius::Type;

const Bytes kRequest = hex("01 05 0014 0f403f9473978057bd83d5cb98f4227a");

Exchange exchange(bool needs_message_authenticator = true, Code request = Code::access_request) {
  Exchange result{request, {}, kSecret, needs_message_authenticator};
  std::copy_n(kRequest.begin() + 4, 16, result.authenticator.begin());
  return result;
}

Defect defect_of(const Bytes& reply, const Exchange& of = exchange()) {
  Packet packet;
  return decode_reply(reply, of, packet);
}

// RFC 2865, 7.1.
TEST(RepliesTest, UnsignedAccept) {
  const Bytes accept =
      hex("02 00 0026 86fe220e7624ba2a1005f6bf9b55e0b2 0606 00000001 0f06 00000000 0e06 c0a80103");
  EXPECT_EQ(defect_of(accept, exchange(false)), Defect::none);
  EXPECT_EQ(defect_of(accept), Defect::no_message_authenticator);
}

TEST(RepliesTest, SignedAccept) {
  const Bytes accept =
      hex("02 05 002a 25f9708d6c0382995493f10790b41b50 5012 931a548bb664af8336c86251d34b4484"
          "1204 4869");
  EXPECT_EQ(accept, reply_to(kRequest, 2, attribute(18, "Hi")));
  Packet packet;
  EXPECT_EQ(decode_reply(accept, exchange(), packet), Defect::none);
  EXPECT_EQ(aaa_sim::text_of(*packet.find(Type::reply_message)), "Hi");
}

TEST(RepliesTest, OnlyAnswersToTheRequestHaveTheRightCode) {
  for (int code = 0; code < 256; ++code) {
    const Bytes reply = reply_to(kRequest, static_cast<std::uint8_t>(code));
    const bool is_access = code == 2 || code == 3 || code == 11;
    EXPECT_EQ(defect_of(reply), is_access ? Defect::none : Defect::wrong_code) << code;
    EXPECT_EQ(defect_of(reply, exchange(false, Code::accounting_request)),
              code == 5 ? Defect::none : Defect::wrong_code)
        << code;
  }
}

TEST(RepliesTest, EveryByteIsAuthenticated) {
  const Bytes accept = reply_to(kRequest, 2, attribute(18, "Hi"));
  for (std::size_t at = 4; at < accept.size(); ++at) {
    if (at == 21 || at == 39) continue;  // lengths of attributes
    Bytes changed = accept;
    changed[at] ^= 0x40;
    EXPECT_EQ(defect_of(changed), Defect::wrong_authenticator) << at;
  }
}

TEST(RepliesTest, ForgedRepliesAreNot) {
  EXPECT_EQ(defect_of(reply_to(kRequest, 2, {}, "other")), Defect::wrong_authenticator);
  Bytes other_request = kRequest;
  other_request[4] ^= 1;
  EXPECT_EQ(defect_of(reply_to(other_request, 2)), Defect::wrong_authenticator);
}

TEST(RepliesTest, ExactlyOneMessageAuthenticator) {
  const std::pair<Signature, Defect> cases[] = {
      {Signature::valid, Defect::none},
      {Signature::none, Defect::no_message_authenticator},
      {Signature::twice, Defect::wrong_message_authenticator},
      {Signature::wrong, Defect::wrong_message_authenticator},
      {Signature::too_short, Defect::wrong_message_authenticator},
  };
  for (const auto& [signature, defect] : cases) {
    const Bytes reply = reply_to(kRequest, 2, attribute(18, "Hi"), kSecret, signature);
    EXPECT_EQ(defect_of(reply), defect) << static_cast<int>(signature);
    // Where it may be missing it must still be right.
    EXPECT_EQ(defect_of(reply, exchange(false)),
              signature == Signature::none ? Defect::none : defect)
        << static_cast<int>(signature);
  }
}

// RFC 3579: a packet with EAP-Message always has one.
TEST(RepliesTest, UnsignedEapMessageIsNeverAccepted) {
  const Bytes reply =
      reply_to(kRequest, 11, attribute(79, hex("0101000501")), kSecret, Signature::none);
  EXPECT_EQ(defect_of(reply, exchange(false)), Defect::no_message_authenticator);
}

TEST(RepliesTest, AccountingResponseMayBeSigned) {
  const Exchange accounting = exchange(false, Code::accounting_request);
  for (const Signature signature : {Signature::valid, Signature::none})
    EXPECT_EQ(defect_of(reply_to(kRequest, 5, {}, kSecret, signature), accounting), Defect::none);
  EXPECT_EQ(defect_of(reply_to(kRequest, 5, {}, kSecret, Signature::wrong), accounting),
            Defect::wrong_message_authenticator);
}

TEST(DynamicRequestTest, LiteralRequests) {
  Packet packet;
  const Bytes plain = hex("28 03 001e 7da30ca1206f5f38a017e6ff71ced9d5 2c0a 3030303030303037");
  EXPECT_EQ(decode_dynamic_request(plain, kSecret, packet), Defect::none);
  EXPECT_EQ(encode_response(Code::disconnect_ack, packet, {}, kSecret),
            hex("29 03 0014 77afca7aed742913661d18ac2fda92e8"));
  const Bytes with_signature =
      hex("28 04 0030 369cb1bfda2bab5763048f52492ec2c7"
          "5012 e13b00bcff16206571eaea5aa8024be8 2c0a 3030303030303037");
  EXPECT_EQ(decode_dynamic_request(with_signature, kSecret, packet), Defect::none);
  EXPECT_EQ(encode_response(Code::disconnect_ack, packet, {}, kSecret),
            hex("29 04 0026 63691532f9c26c20099679490a94767c"
                "5012 36e481a00d083719f120fa2b1902217e"));
}

TEST(DynamicRequestTest, DefectsAreTold) {
  Packet packet;
  const Bytes session = attribute(44, "00000007");
  const std::pair<Bytes, Defect> cases[] = {
      {{}, Defect::malformed},
      {dynamic_request(41, 1, session), Defect::wrong_code},
      {dynamic_request(1, 1, session), Defect::wrong_code},
      {dynamic_request(40, 1, session, "other"), Defect::wrong_authenticator},
      {dynamic_request(43, 1, session, kSecret, Signature::wrong),
       Defect::wrong_message_authenticator},
      {dynamic_request(43, 1, session, kSecret, Signature::twice),
       Defect::wrong_message_authenticator},
      {dynamic_request(43, 1, session, kSecret, Signature::valid), Defect::none},
      {dynamic_request(43, 1, session), Defect::none},
  };
  for (const auto& [datagram, defect] : cases)
    EXPECT_EQ(decode_dynamic_request(datagram, kSecret, packet), defect);
}

}  // namespace
}  // namespace radius_test
