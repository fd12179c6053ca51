// Messages that do not fit their description.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "messages/expected.h"
#include "messages/render.h"
#include "messages/sample_bodies.h"
#include "support/bytes.h"
#include "support/table_row.h"

namespace test::malformed {
namespace {

using aaa_messages::Decoded;
using aaa_messages::Field;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class CutMessages : public testing::TestWithParam<MessageSample> {};

// Fields are inside their frame, one behind another, and parts inside their wholes.
bool are_in_place(const std::vector<Field>& fields, std::size_t begin, std::size_t end) {
  for (const Field& field : fields) {
    if (field.offset < begin || field.offset + field.length > end) return false;
    begin = field.offset + field.length;
    if (!are_in_place(field.fields, field.offset, begin)) return false;
  }
  return true;
}

std::size_t count_of(const std::vector<Field>& fields) {
  std::size_t count = fields.size();
  for (const Field& field : fields)
    count += count_of(field.fields);
  return count;
}

TEST_P(CutMessages, AreDecodedAsFarAsTheyGoAndSaySo) {
  const std::string whole = GetParam().bytes();
  std::size_t fields = 0;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Decoded message = decoded(GetParam(), whole.substr(0, size));
    ASSERT_TRUE(are_in_place(message.fields, 0, size)) << size;
    ASSERT_EQ(size < 16 ? "no message begins here"
                        : "the body is truncated: " + std::to_string(size - 16) + " of " +
                              std::to_string(whole.size() - 16) + " bytes are there",
              message.remarks.at(0));
    if (fields == count_of(message.fields)) continue;
    fields = count_of(message.fields);
    ASSERT_FALSE(aaa_messages::to_text(message).empty());
    ASSERT_FALSE(aaa_messages::to_json(message).dump().empty());
  }
}

INSTANTIATE_TEST_SUITE_P(All, CutMessages, testing::ValuesIn(distinct_samples()), row_name);

Decoded decoded_with_body(const std::string& sample_name, const std::string& body) {
  MessageSample sample = message_sample(sample_name);
  sample.body = body;
  return decoded(sample, sample.bytes());
}

const Field& field_named(const Decoded& message, const std::string& name) {
  for (const Field& field : message.fields)
    if (field.name == name) return field;
  throw std::runtime_error("no field " + name);
}

TEST(CutMessage, HasTheFieldsThatAreThereAsAWhole) {
  const MessageSample& sample = message_sample("delete_user");
  const Decoded message = decoded(sample, sample.bytes().substr(0, 22));
  EXPECT_THAT(names_of(message.fields), ElementsAre("session_id", "w1"));
  EXPECT_EQ(77, std::get<std::uint64_t>(message.fields[0].value));
  EXPECT_EQ(2, message.fields[1].length);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(message.fields[1].value));
}

TEST(CutMessage, HasTheRowsOfItsBlockThatAreThere) {
  const MessageSample& sample = message_sample("author");
  const Decoded message = decoded(sample, sample.bytes().substr(0, 16 + 4 + 8 + 2));
  EXPECT_THAT(names_of(message.fields),
              ElementsAre("fixed_block", "fixed_block.num_a", "fixed_block.code_a",
                          "fixed_block.code_b", "fixed_block.session_id"));
  EXPECT_THAT(message.remarks, Contains("fixed_block ends after 10 of 156 bytes"));
}

TEST(CutMessage, EndsInAnItemThatKeepsItsName) {
  const MessageSample& sample = message_sample("ldap_search");
  const Decoded message = decoded(sample, sample.bytes().substr(0, 70));
  EXPECT_EQ("item_307", message.fields.back().name);
  EXPECT_EQ(2, message.fields.back().length);
  EXPECT_TRUE(message.fields.back().secret);
  EXPECT_FALSE(field_named(message, "item_306").secret);
  EXPECT_THAT(message.remarks, ElementsAre("the body is truncated: 54 of 84 bytes are there",
                                           "item_307: 2 of 7 bytes are there"));
}

TEST(Marker, IsCheckedBeforeAnythingElse) {
  const MessageSample& sample = message_sample("delete_user");
  std::string bytes = sample.bytes();
  bytes[0] = 2;
  const Decoded message = decoded(sample, bytes);
  EXPECT_FALSE(message.has_header);
  EXPECT_THAT(names_of(message.fields), ElementsAre("undecoded"));
  EXPECT_EQ(bytes.size(), message.fields[0].length);
  EXPECT_TRUE(message.fields[0].secret);
  EXPECT_THAT(message.remarks,
              ElementsAre("no message begins here", "24 bytes are not part of a message"));
}

TEST(Frame, MayHaveMoreBytesThanItsMessage) {
  const MessageSample& sample = message_sample("delete_user");
  const Decoded message = decoded(sample, sample.bytes() + "more");
  EXPECT_THAT(names_of(message.fields), ElementsAre("session_id", "w1", "undecoded"));
  EXPECT_TRUE(message.fields[2].secret);
  EXPECT_THAT(message.remarks, ElementsAre("4 bytes are not part of a message"));
}

TEST(Body, MayBeLongerThanItsDescription) {
  const Decoded message = decoded_with_body("delete_user", word_bytes({77, 2, 3}));
  EXPECT_THAT(names_of(message.fields), ElementsAre("session_id", "w1", "undecoded"));
  EXPECT_EQ(24, message.fields[2].offset);
  EXPECT_THAT(message.remarks, ElementsAre("4 bytes of the body are not part of the message"));
}

TEST(Body, MayBeShorterThanItsDescription) {
  const Decoded message = decoded_with_body("delete_user", word_bytes(77));
  EXPECT_THAT(names_of(message.fields), ElementsAre("session_id"));
  EXPECT_THAT(message.remarks, ElementsAre("the body ends after 4 of 8 bytes"));
}

TEST(Body, OfAnUnknownTypeIsUndecoded) {
  MessageSample sample = message_sample("delete_user");
  sample.type = 99;
  const Decoded message = decoded(sample, sample.bytes());
  EXPECT_EQ("Unknown msg", message.type_name);
  EXPECT_THAT(names_of(message.fields), ElementsAre("undecoded"));
  EXPECT_THAT(message.remarks, Contains("clients send no such message"));
}

TEST(Message, OfAnUnknownSocketIsSentOnBoth) {
  for (const char* name :
       {"reregister", "get_new_model_state", "new_model_state", "peer_controller"}) {
    for (const auto socket : {aaa_messages::Socket::request, aaa_messages::Socket::event}) {
      MessageSample sample = message_sample(name);
      sample.socket = socket;
      EXPECT_THAT(decoded(sample, sample.bytes()).remarks, IsEmpty()) << name;
    }
  }
}

TEST(Reserved, BytesAreNotedWhenTheyAreNotZero) {
  const auto remarks_with = [](const std::string& name, std::size_t at) {
    std::string body = message_sample(name).body;
    body.at(at) = 1;
    return decoded_with_body(name, body).remarks;
  };
  EXPECT_THAT(remarks_with("restore_user", 14), IsEmpty());
  EXPECT_THAT(remarks_with("restore_user", 269),
              ElementsAre("the body: reserved bytes from 269 to 269 are not zero"));
  EXPECT_THAT(remarks_with("restore_user", 344),
              ElementsAre("the body: reserved bytes from 344 to 347 are not zero"));
  EXPECT_THAT(remarks_with("hot_backup", 344), IsEmpty());
  EXPECT_THAT(remarks_with("user_sync", 31),
              ElementsAre("the body: reserved bytes from 16 to 31 are not zero"));
  EXPECT_THAT(remarks_with("authen", 4 + 808),
              ElementsAre("fixed_block: reserved bytes from 783 to 808 are not zero"));
  EXPECT_THAT(remarks_with("authen", 4 + 1183),
              ElementsAre("fixed_block: reserved bytes from 1180 to 1183 are not zero"));
}

TEST(Items, ThatARecordHasNotEndARequest) {
  const std::string front = message_sample("author").body.substr(0, 160);
  const Decoded message =
      decoded_with_body("author", front + item_bytes(2, "pass") + item_bytes(5, "x") + "rest");
  ASSERT_EQ(3, message.fields.size());
  EXPECT_EQ("user_password", message.fields[1].name);
  EXPECT_EQ("undecoded", message.fields[2].name);
  EXPECT_EQ(16 + 160 + 8, message.fields[2].offset);
  EXPECT_EQ(9, message.fields[2].length);
  EXPECT_THAT(message.remarks, ElementsAre("the items from byte 184 on cannot be read"));
}

TEST(Items, ThatAResultHasNotAreSkipped) {
  const std::string body = message_sample("notify_result").body + item_bytes(400, "new");
  const Decoded message = decoded_with_body("notify_result", body);
  EXPECT_EQ("item_400", message.fields.back().name);
  EXPECT_EQ(400, message.fields.back().tag);
  EXPECT_TRUE(message.fields.back().secret);
  EXPECT_THAT(message.remarks, IsEmpty());
  EXPECT_FALSE(field_named(message, "class").secret);
}

TEST(Items, OfAResultThatDoNotEndWithItEndAtTheFirstUnknownOne) {
  const std::string body = message_sample("notify_result").body;
  const Decoded message = decoded_with_body(
      "notify_result", body + item_bytes(400, "new") + std::string("\2\0\xff", 3));
  EXPECT_EQ("undecoded", message.fields.back().name);
  EXPECT_EQ(16 + body.size(), message.fields.back().offset);
  EXPECT_TRUE(field_named(message, "class").secret);
}

TEST(Items, AreAllSecretWhenOneOfThemReachesPastTheEnd) {
  std::string body = message_sample("acct").body;
  body.at(776 + 4 + 9 + 2) = 'x';  // the length of item 25
  const Decoded message = decoded_with_body("acct", body);
  EXPECT_EQ("undecoded", message.fields.back().name);
  for (const Field& field : message.fields)
    EXPECT_EQ(field.name != "fixed_block", field.secret) << field.name;
  EXPECT_EQ(772, field_named(message, "fixed_block").length);
}

TEST(Items, OfARecordAreMissedRepeatedAndOutOfOrder) {
  const std::string front = message_sample("author").body.substr(0, 160);
  const Decoded message = decoded_with_body(
      "author", front + item_bytes(301, "a") + item_bytes(2, "b") + item_bytes(301, "c"));
  EXPECT_THAT(message.remarks, ElementsAre("ext_text is repeated", "tail_data is missing",
                                           "the items are not in their order"));
  EXPECT_TRUE(field_named(message, "ext_text").secret);
}

TEST(Items, OfALocalUserEndAtALength0) {
  const std::string front = long_item(1, "alice") + long_item(2, word_bytes(22));
  const Decoded all = decoded_with_body("local_update_user", front + zeros(8));
  EXPECT_THAT(names_of(all.fields), ElementsAre("user_name", "value_2"));
  EXPECT_THAT(all.remarks, IsEmpty());
  for (const std::uint32_t tag : {0, 5, 6}) {
    const Decoded message =
        decoded_with_body("local_update_user", front + word_bytes({tag, 0, 1, 2}));
    EXPECT_THAT(names_of(message.fields), ElementsAre("user_name", "value_2", "undecoded"));
    EXPECT_TRUE(message.fields[2].secret);
    EXPECT_THAT(message.remarks, ElementsAre("8 bytes of the body are not part of the message"));
  }
}

TEST(Items, OfNumbersHaveFourBytes) {
  const Decoded message = decoded_with_body("set_group_state", item_bytes(2, "abc"));
  EXPECT_THAT(message.remarks, ElementsAre("state has 3 bytes instead of 4"));
  EXPECT_TRUE(message.fields.at(0).secret);
}

TEST(Items, OfTheFixedBlockHaveItsSize) {
  std::string body = message_sample("author").body;
  body.erase(159, 1);
  body.at(2) = static_cast<char>(155);
  const Decoded message = decoded_with_body("author", body);
  EXPECT_THAT(message.remarks, ElementsAre("fixed_block has 155 bytes instead of 156"));
  EXPECT_TRUE(message.fields.at(0).secret);
  EXPECT_THAT(message.fields.at(0).fields, IsEmpty());
}

// A few bytes are an item or a message, and a frame may have millions of them.
TEST(Listed, AreThousandsOfItemsAndTheRestIsOneField) {
  std::string items;
  for (int i = 0; i < 5000; ++i)
    items += item_bytes(2, "ab");
  const Decoded message = decoded_with_body("author", items);
  ASSERT_EQ(4097, message.fields.size());
  EXPECT_EQ("user_password", message.fields[4095].name);
  const Field& rest = message.fields.back();
  EXPECT_EQ("undecoded", rest.name);
  EXPECT_TRUE(rest.secret);
  EXPECT_EQ(16 + 4096 * 6, rest.offset);
  EXPECT_EQ(904 * 6, rest.length);
  EXPECT_THAT(message.remarks, ElementsAre("the items from byte 24592 on cannot be read"));
}

TEST(Listed, AreNoItemsThatAResultHasNotWhenThereAreTooMany) {
  std::string items;
  for (int i = 0; i < 5000; ++i)
    items += item_bytes(400, "");
  const Decoded message = decoded_with_body("notify_result", items);
  ASSERT_EQ(1, message.fields.size());
  EXPECT_TRUE(message.fields[0].secret);
  EXPECT_EQ(20000, message.fields[0].length);
}

TEST(Listed, AreItemsOfEntriesAndRowsOfBlocksToo) {
  std::string pairs, blocks;
  for (int i = 0; i < 3000; ++i)
    pairs += item_bytes(312, "");
  const std::string entry =
      word_bytes({310 | static_cast<std::uint32_t>(pairs.size()) << 16, 3000}) + pairs;
  const Decoded answer =
      decoded_with_body("ldap_answer", word_bytes({77, 0, 0, 0, 2, 0}) + entry + entry);
  EXPECT_LE(count_of(answer.fields), 4096 + 2);  // with the rest of the entry and of the answer
  EXPECT_EQ("undecoded", answer.fields.back().fields.back().name);
  for (int i = 0; i < 1000; ++i)
    blocks += message_sample("author").body.substr(0, 160);
  EXPECT_LT(count_of(decoded_with_body("author", blocks).fields), 4096 + 100);
}

TEST(Listed, AreThousandsOfMessagesOfABatch) {
  std::string batch;
  for (int i = 0; i < 5000; ++i)
    batch += message_sample("group_state_change").bytes();
  const Decoded message = decoded_with_body("batch", batch);
  EXPECT_EQ(4096, message.messages.size());
  ASSERT_THAT(names_of(message.fields), ElementsAre("undecoded"));
  EXPECT_EQ(904 * 16, message.fields[0].length);
}

TEST(LocalUser, ItemsAreNotShorterThanTheirHeads) {
  const Decoded message = decoded_with_body("local_update_user", word_bytes({2, 12, 22, 5, 7}));
  EXPECT_THAT(names_of(message.fields), ElementsAre("value_2", "undecoded"));
  EXPECT_EQ(28, message.fields[1].offset);
}

TEST(LocalUser, ItemsOfOtherTypesAreSkipped) {
  const Decoded message =
      decoded_with_body("local_update_user", word_bytes({3, 12, 33, 2, 12, 22}));
  EXPECT_THAT(names_of(message.fields), ElementsAre("item_3", "value_2"));
  EXPECT_THAT(message.remarks, IsEmpty());
}

TEST(Ldap, CountsAreCompared) {
  std::string body = message_sample("ldap_search").body;
  body.at(36) = 3;
  EXPECT_THAT(decoded_with_body("ldap_search", body).remarks,
              ElementsAre("attr_count is 3, but there are 2 of attribute"));
  body = message_sample("ldap_answer").body;
  body.at(16) = 2;
  body.at(24 + 8 + 8 + 4) = 1;
  EXPECT_THAT(decoded_with_body("ldap_answer", body).remarks,
              ElementsAre("pair_count is 1, but there are 2 of name",
                          "pair_count is 1, but there are 2 of value",
                          "entry_count is 2, but there are 1 of entry"));
}

TEST(Ldap, AnEntryThatCannotBeReadDoesNotEndTheAnswer) {
  std::string body = message_sample("ldap_answer").body;
  body.at(24 + 8 + 8 + 8 + 2) = '\x7f';  // the length of the DN
  const Decoded message = decoded_with_body("ldap_answer", body + item_bytes(306, "again"));
  EXPECT_THAT(names_of(message.fields),
              ElementsAre("session_id", "words3_a", "entry_count", "num_a", "item_309", "item_306",
                          "entry", "entry.pair_count", "entry.undecoded", "item_306"));
}

TEST(Texts, ThatDoNotFillTheBodyAreUndecoded) {
  for (const char* name : {"update_pwd", "pwd_update"}) {
    std::string body = message_sample(name).body;
    body.at(8) = 8;  // the length of the first text
    const Decoded message = decoded_with_body(name, body);
    EXPECT_EQ("undecoded", message.fields.back().name);
    EXPECT_EQ(24, message.fields.back().offset);
    EXPECT_EQ(39, message.fields.back().length);
  }
}

TEST(Texts, OfGroupsAreInDoubtWhenTheRecordBehindThemCannotBeRead) {
  std::string body = message_sample("author_group").body;
  EXPECT_FALSE(field_named(decoded_with_body("author_group", body), "group_name").secret);
  body[0] = '\xa0';
  EXPECT_TRUE(field_named(decoded_with_body("author_group", body), "group_name").secret);
}

TEST(Batch, EndsWhereNoMessageBegins) {
  const MessageSample& sample = message_sample("batch");
  const Decoded message = decoded_with_body("batch", sample.body + "noise and more noise");
  EXPECT_EQ(2, message.messages.size());
  EXPECT_THAT(names_of(message.fields), ElementsAre("undecoded"));
  EXPECT_EQ(20, message.fields[0].length);
}

}  // namespace
}  // namespace test::malformed
