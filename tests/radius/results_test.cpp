// Which attribute of a reply is which member of a result: the rows of docs/fields.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "radius/fields.h"
#include "radius/scripted_server.h"

namespace radius_test {
namespace {

using aaa_sim::text_of;
using aaa_sim::View;
using aaa_sim::radius::Reply;
using aaa_sim::radius::result_of;

// Keeps the body that the record points into.
struct Decoded {
  Bytes body;
  aaa_sim::ResultInfo record;

  const result_info* operator->() const { return record.get(); }
};

Decoded decoded(Bytes body) {
  auto record = aaa_sim::decode_result(body);
  if (!record) throw std::runtime_error("no result");
  return {std::move(body), std::move(record)};
}

Decoded result_with(const Bytes& attributes, std::uint8_t code = 2) {
  Bytes packet = Bytes{code, 5, 0, 0} + Bytes(16) + attributes;
  packet[2] = static_cast<std::uint8_t>(packet.size() >> 8);
  packet[3] = static_cast<std::uint8_t>(packet.size());
  Reply reply{.request_authenticator = {0x0f, 0x40, 0x3f, 0x94, 0x73, 0x97, 0x80, 0x57, 0xbd, 0x83,
                                        0xd5, 0xcb, 0x98, 0xf4, 0x22, 0x7a},
              .secret = kSecret};
  if (!reply.packet.decode(packet)) throw std::runtime_error("no packet");
  return decoded(result_of(&reply, 7, "nemo"));
}

std::string text_in(const aaa_item& item) {
  return std::string(text_of(item));
}

TEST(ResultsTest, Codes) {
  const std::pair<std::uint8_t, std::uint32_t> codes[] = {{2, 0}, {5, 0}, {3, 1}, {11, 3}};
  for (const auto& [packet, result] : codes)
    EXPECT_EQ(result_with({}, packet)->sub.num_a, result) << packet;
  EXPECT_EQ(decoded(result_of(nullptr, 7, "nemo"))->sub.num_a, 4u);
}

TEST(ResultsTest, PromptTellsWhetherTheAnswerIsShown) {
  const std::pair<Bytes, std::uint32_t> prompts[] = {{{}, 0},
                                                     {hex("4c06 00000000"), 1},
                                                     {hex("4c06 00000001"), 2},
                                                     {hex("4c06 00000002"), 0},
                                                     {hex("4c03 01"), 1}};
  for (const auto& [attribute, code] : prompts)
    EXPECT_EQ(result_with(attribute, 11)->sub.code_a, code);
}

TEST(ResultsTest, EmptyReply) {
  const Decoded result = result_with({});
  EXPECT_EQ(result->sub.session_id, 7u);
  EXPECT_EQ(text_of(result->sub.chars65_a), "nemo");
  EXPECT_EQ(result->sub.num_b, 0u);
  EXPECT_EQ(text_of(result->sub.chars65_b), "");
  for (const aaa_item& item :
       {result->reply_message, result->state, result->class_, result->eap_message,
        result->nas_port_id, result->chargeable_user_identity, result->item_309, result->item_311})
    EXPECT_EQ(item.len, 0);
}

TEST(ResultsTest, UserName) {
  EXPECT_EQ(text_of(result_with(hex("0105 6d6521"))->sub.chars65_a), "me!");
  EXPECT_EQ(text_of(result_with(attribute(1, std::string(253, 'n')))->sub.chars65_a),
            std::string(64, 'n'));
}

TEST(ResultsTest, Numbers) {
  const Decoded result = result_with(hex("1b06 00000e10 1c06 00000100 5506 0000003c"));
  EXPECT_EQ(result->sub.num_b, 3600u);
  EXPECT_EQ(result->sub.num_c, 256u);
  EXPECT_EQ(result->sub.num_d, 60u);
}

TEST(ResultsTest, Vlan) {
  const Decoded tagged =
      result_with(hex("4006 0100000d 4106 01000006 5106 01 313030"
                      "4006 02000001 5106 02 323030"));
  EXPECT_EQ(tagged->sub.words4_a[0], 13u);
  EXPECT_EQ(tagged->sub.words4_a[1], 6u);
  EXPECT_EQ(text_of(tagged->sub.chars65_b), "100");
  EXPECT_EQ(text_of(result_with(hex("5105 313030"))->sub.chars65_b), "100");
  EXPECT_EQ(text_of(result_with(hex("5106 00 313030"))->sub.chars65_b), "100");
  EXPECT_EQ(text_of(result_with(hex("5103 1f"))->sub.chars65_b), "");
  EXPECT_EQ(text_of(result_with(hex("5103 20"))->sub.chars65_b), " ");
  EXPECT_EQ(text_of(result_with(hex("5102"))->sub.chars65_b), "");
}

TEST(ResultsTest, Items) {
  const Decoded result = result_with(hex("1804 7374 1904 636c 1904 6464 5704 7031 5905 637569"));
  EXPECT_EQ(text_in(result->state), "st");
  EXPECT_EQ(text_in(result->class_), "cl");
  EXPECT_EQ(text_in(result->nas_port_id), "p1");
  EXPECT_EQ(text_in(result->chargeable_user_identity), "cui");
}

TEST(ResultsTest, StateIsUnchanged) {
  Bytes state(253);
  for (std::size_t n = 0; n < state.size(); ++n)
    state[n] = static_cast<std::uint8_t>(n);
  EXPECT_EQ(text(text_in(result_with(attribute(24, state), 11)->state)), state);
}

TEST(ResultsTest, SeveralAttributesAreJoined) {
  const Decoded result =
      result_with(hex("1203 61 1204 6262") + attribute(79, Bytes(253, 'e')) + hex("4f03 66"));
  EXPECT_EQ(text_in(result->reply_message), "a\nbb");
  EXPECT_EQ(text_in(result->eap_message), std::string(253, 'e') + "f");
}

const Bytes kReceiveKey =
    hex("8001 e74fd77a66159af1c00e2603ed8f8a2d775b72924f399d2c98d1909d856dfa86"
        "08c3baf92fc0c0313d7dd2b3bb1fe1e7");
const Bytes kSendKey = hex("ff02 b2de3a2611019c3443187fba23257def0da7ea4843ed51801649650a3c971e5b");
const Bytes kMicrosoft = hex("00000137");

std::string first_numbers() {
  std::string numbers(32, 0);
  for (std::size_t n = 0; n < numbers.size(); ++n)
    numbers[n] = static_cast<char>(n);
  return numbers;
}

TEST(ResultsTest, Keys) {
  const Decoded result = result_with(attribute(26, kMicrosoft + attribute(16, kSendKey)) +
                                     attribute(26, kMicrosoft + attribute(17, kReceiveKey)));
  EXPECT_EQ(text_in(result->item_309), first_numbers());
  EXPECT_EQ(text_in(result->item_311), "defghijklmnopqrs");
}

TEST(ResultsTest, KeysInOneAttribute) {
  const Decoded result = result_with(attribute(
      26, kMicrosoft + attribute(1, "x") + attribute(16, kSendKey) + attribute(17, kReceiveKey)));
  EXPECT_EQ(text_in(result->item_309), first_numbers());
  EXPECT_EQ(text_in(result->item_311), "defghijklmnopqrs");
}

TEST(ResultsTest, OtherVendorsAndMalformedKeysAreIgnored) {
  const Bytes malformed[] = {
      {},
      hex("000001"),
      kMicrosoft,
      kMicrosoft + hex("11"),
      kMicrosoft + hex("1100"),
      kMicrosoft + hex("1124") + part(kReceiveKey, 0, 33),
      kMicrosoft + attribute(17, part(kReceiveKey, 0, 33)),
      hex("00000009") + attribute(17, kReceiveKey),
      kMicrosoft + attribute(18, kReceiveKey),
  };
  for (const Bytes& value : malformed)
    EXPECT_EQ(result_with(attribute(26, value))->item_309.len, 0);
}

}  // namespace
}  // namespace radius_test
