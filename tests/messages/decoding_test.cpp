// Each message, decoded into all of its fields.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "messages/catalogue.h"
#include "messages/expected.h"
#include "support/bytes.h"
#include "support/table_row.h"

namespace test {
namespace {

using aaa_messages::Message;
using aaa_messages::Sender;
using aaa_messages::Socket;
using testing::ElementsAre;
using testing::IsEmpty;

class MessageSamples : public testing::TestWithParam<MessageSample> {};

TEST_P(MessageSamples, DecodesToItsFieldsAtTheirPlaces) {
  const Json object = decoded_object(GetParam());
  EXPECT_EQ(lines_of(expected_fields(GetParam())), lines_of(object["fields"]));
  EXPECT_EQ(GetParam().type, object["type"]);
  EXPECT_EQ(aaa_ipc_get_msg_type_str(GetParam().type), object["name"]);
  EXPECT_EQ(GetParam().id, object["id"]);
  EXPECT_EQ(GetParam().body.size(), object["body_length"]);
  EXPECT_EQ(GetParam().sender == Sender::client ? "client" : "aaad", object["from"]);
  EXPECT_EQ(GetParam().socket == Socket::request ? "request" : "event", object["socket"]);
}

TEST_P(MessageSamples, HasNothingToRemark) {
  EXPECT_THAT(decoded(GetParam(), GetParam().bytes()).remarks, IsEmpty());
}

TEST_P(MessageSamples, IsToldFromAMessageOfTheOtherSide) {
  MessageSample other = GetParam();
  other.sender = other.sender == Sender::client ? Sender::daemon : Sender::client;
  if (aaa_messages::find(other.type, other.sender, other.body.size()) != nullptr) return;
  const std::string remark = other.sender == Sender::client ? "clients send no such message"
                                                            : "aaad sends no such message";
  EXPECT_EQ(remark, decoded(other, other.bytes()).remarks.at(0));
}

TEST_P(MessageSamples, IsNotedOnTheWrongSocket) {
  MessageSample other = GetParam();
  other.socket = other.socket == Socket::request ? Socket::event : Socket::request;
  const Message* message = aaa_messages::find(other.type, other.sender, other.body.size());
  const bool on_both = message->sockets == aaa_messages::Sockets::both;
  const auto remarks = decoded(other, other.bytes()).remarks;
  EXPECT_EQ(
      on_both ? std::vector<std::string>{} : std::vector<std::string>{"is not sent on this socket"},
      remarks);
}

INSTANTIATE_TEST_SUITE_P(All, MessageSamples, testing::ValuesIn(message_samples()), row_name);

// A message of each description has been looked at.
TEST(Catalogue, HasASampleForEachMessage) {
  std::multiset<std::pair<std::uint32_t, Sender>> described;
  for (const Message& message : aaa_messages::catalogue())
    described.insert({message.type, message.sender});
  std::multiset<std::pair<std::uint32_t, Sender>> sampled;
  for (const MessageSample& sample : message_samples())
    if (sample.name != "register_event") sampled.insert({sample.type, sample.sender});
  EXPECT_EQ(sampled, described);
}

TEST(Catalogue, DescribesEachTypeThatHasAConstant) {
  for (std::uint32_t type = 0; type <= AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT; ++type) {
    const bool has_name = std::string(aaa_ipc_get_msg_type_str(type)) != "Unknown msg";
    const bool is_named_elsewhere =
        type == AAA_MSG_USER_PWD_UPDATE_RESULT || type == AAA_MSG_UPDATE_USER_PWD_RESP;
    const bool described = aaa_messages::find(type, Sender::client, 0) != nullptr ||
                           aaa_messages::find(type, Sender::daemon, 0) != nullptr;
    EXPECT_EQ(has_name || is_named_elsewhere, described) << "type " << type;
  }
}

TEST(Batch, IsDecodedMessageByMessage) {
  const MessageSample& sample = message_sample("batch");
  const Json object = decoded_object(sample);
  ASSERT_EQ(2, object["messages"].size());
  const Json& first = object["messages"][0];
  const Json& second = object["messages"][1];
  EXPECT_EQ(16, first["offset"]);
  EXPECT_EQ(28, first["type"]);
  EXPECT_EQ(32, first["fields"][0]["offset"]);
  EXPECT_EQ(44, second["offset"]);
  EXPECT_EQ("author request", second["name"]);
  EXPECT_EQ(77, second["id"]);
  EXPECT_EQ("fixed_block", second["fields"][0]["name"]);
  EXPECT_EQ(64, second["fields"][0]["offset"]);
  EXPECT_EQ(224, second["fields"][1]["offset"]);
}

TEST(Batch, IsNotDecodedInsideAnother) {
  MessageSample sample = message_sample("batch");
  sample.body = message_bytes(25, message_bytes(17));
  const auto message = decoded(sample, sample.bytes());
  ASSERT_EQ(1, message.messages.size());
  EXPECT_THAT(message.messages[0].messages, IsEmpty());
  EXPECT_THAT(names_of(message.messages[0].fields), ElementsAre("undecoded"));
}

TEST(Values, OfOctetsAreHexadecimalWhenTheyAreNoText) {
  MessageSample sample = message_sample("online_info_answer");
  for (const auto& [octets, expected] :
       std::vector<std::pair<std::string, std::string>>{{"666f6f0000000000", R"("value":"foo")"},
                                                        {"666f6f0000000001", R"("hex":"666f6f00)"},
                                                        {"c3a4000000000000", "\"value\":\"ä\""},
                                                        {"c300000000000000", R"("hex":"c3000000)"},
                                                        {"0000000000000000", R"("value":"")"}}) {
    sample.body = hex(octets);
    EXPECT_THAT(decoded_object(sample)["fields"][0].dump(), testing::HasSubstr(expected));
  }
}

TEST(Values, OfSecretsAreInTheFields) {
  const std::string bytes = message_sample("update_pwd").bytes();
  const auto message = decoded(message_sample("update_pwd"), bytes);
  EXPECT_EQ(sample_secret, std::get<std::string>(message.fields.at(3).value));
}

}  // namespace
}  // namespace test
