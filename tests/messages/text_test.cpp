// Messages as text for people.
#include <gtest/gtest.h>

#include "messages/expected.h"
#include "messages/render.h"
#include "support/bytes.h"

namespace test::text {
namespace {

std::string text_of(const MessageSample& sample, const aaa_messages::Rendering& rendering = {}) {
  return aaa_messages::to_text(decoded(sample, sample.bytes()), rendering);
}

TEST(Text, HasALineForTheMessageAndOneForEachField) {
  EXPECT_EQ(
      "9 (query method list existence) id 0, 20 bytes, from client on the request socket\n"
      "     16     4  w0 1\n"
      "     20     4  w1 2\n"
      "     24     4  w2 3\n"
      "     28     8  name \"default\"\n",
      text_of(message_sample("query_mlist")));
}

TEST(Text, TellsOfASecretThatItIsThere) {
  EXPECT_EQ(
      "22 (local query pwd) id 0, 26 bytes, from client on the request socket\n"
      "     20     9  s1 (1) secret\n"
      "     33     9  s2 (2) secret\n",
      text_of(message_sample("query_pwd")));
  EXPECT_EQ(
      "22 (local query pwd) id 0, 26 bytes, from client on the request socket\n"
      "     20     9  s1 (1) \"Geheim!42\"\n"
      "     33     9  s2 (2) \"Geheim!42\"\n",
      text_of(message_sample("query_pwd"), {.secrets = true}));
}

TEST(Text, HasFieldsInsideOthersAndWordsAndOctets) {
  MessageSample sample = message_sample("ldap_answer");
  sample.body = word_bytes({77, 1, 2, 3, 1, 9}) + item_bytes(309, hex("00ff")) +
                item_bytes(306, "a \"b\"\n\\") + hex("3601 0500 00000000 3701 0100 63");
  EXPECT_EQ(
      "141 (notify ldap search result) id 77, 54 bytes, from aaad on the event socket\n"
      "     16     4  session_id 77\n"
      "     20    12  words3_a 1 2 3\n"
      "     32     4  entry_count 1\n"
      "     36     4  num_a 9\n"
      "     44     2  item_309 (309) 0x00ff\n"
      "     50     7  item_306 (306) \"a \\\"b\\\"\\n\\\\\"\n"
      "     61     9  entry (310)\n"
      "       69     1  dn (311) \"c\"\n"
      "    (1 field is zero or empty)\n",
      text_of(sample));
}

TEST(Text, HasZerosOnDemand) {
  MessageSample sample = message_sample("get_session_id");
  sample.body = zeros(8);
  EXPECT_EQ(
      "3 (get session id) id 0, 8 bytes, from client on the request socket\n"
      "  (2 fields are zero or empty)\n",
      text_of(sample));
  EXPECT_EQ(
      "3 (get session id) id 0, 8 bytes, from client on the request socket\n"
      "     16     4  w0 0\n"
      "     20     4  w1 0\n",
      text_of(sample, {.all_fields = true}));
}

TEST(Text, HasTheMessagesOfABatchAndRemarks) {
  MessageSample sample = message_sample("batch");
  sample.socket = aaa_messages::Socket::unknown;
  sample.body = message_bytes(17) + message_bytes(28, word_bytes({1, 2}));
  EXPECT_EQ(
      "25 (PAD pkt) id 0, 40 bytes, from client\n"
      "  17 (radius group state change) id 0, 0 bytes, from client\n"
      "  28 (interface control) id 0, 8 bytes, from client\n"
      "       48     4  w0 1\n"
      "       52     4  w1 2\n"
      "    ! the body ends after 8 of 12 bytes\n",
      text_of(sample));
}

TEST(Text, OfWhatIsNoMessageSaysSo) {
  const auto message = decoded(message_sample("batch"), "noise");
  EXPECT_EQ(
      "no message\n"
      "      0     5  undecoded secret\n"
      "  ! no message begins here\n"
      "  ! 5 bytes are not part of a message\n",
      aaa_messages::to_text(message));
  EXPECT_EQ(R"({"from":"client","socket":"request","fields":[{"name":"undecoded","offset":0,)"
            R"("length":5,"secret":true}],"remarks":["no message begins here",)"
            R"("5 bytes are not part of a message"]})",
            aaa_messages::to_json(message).dump());
}

}  // namespace
}  // namespace test::text
