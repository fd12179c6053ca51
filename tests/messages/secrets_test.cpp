// Passwords and keys, which neither renderers nor masked messages show.
#include "messages/secrets.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "messages/expected.h"
#include "messages/render.h"
#include "messages/sample_bodies.h"
#include "support/bytes.h"
#include "support/table_row.h"

namespace test::secrets {
namespace {

std::string masked(const MessageSample& sample, std::string bytes) {
  const std::vector<std::uint8_t> original(bytes.begin(), bytes.end());
  aaa_messages::mask_secrets(sample.frame(original),
                             {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
  return bytes;
}

std::string rendered(const MessageSample& sample, const std::string& bytes) {
  const auto message = decoded(sample, bytes);
  return aaa_messages::to_text(message, {.all_fields = true}) +
         aaa_messages::to_json(message).dump();
}

// Whether any three letters of the secret are left.
bool shows_secret(const std::string& text) {
  for (std::size_t at = 0; at + 3 <= sample_secret.size(); ++at)
    if (text.find(sample_secret.substr(at, 3)) != std::string::npos) return true;
  return false;
}

bool has_secret(const MessageSample& sample) {
  return shows_secret(sample.body);
}

std::vector<MessageSample> samples_with_secrets(std::vector<MessageSample> samples) {
  std::erase_if(samples, [](const MessageSample& sample) { return !has_secret(sample); });
  return samples;
}

// Numbers of a local user, none of them with a byte that is '*'.
constexpr std::size_t numbers_of_a_user = 10;

bool sample_is_local_user(const MessageSample& sample) {
  return sample.fields == message_sample("local_update_user").fields;
}

class Secrets : public testing::TestWithParam<MessageSample> {};

TEST_P(Secrets, AreNeitherPrintedNorLeftInAMaskedMessage) {
  const std::string bytes = GetParam().bytes();
  EXPECT_FALSE(shows_secret(rendered(GetParam(), bytes)));
  EXPECT_FALSE(shows_secret(masked(GetParam(), bytes)));
}

TEST_P(Secrets, ArePrintedOnDemand) {
  const auto message = decoded(GetParam(), GetParam().bytes());
  EXPECT_TRUE(shows_secret(aaa_messages::to_text(message, {.secrets = true})));
  EXPECT_TRUE(shows_secret(aaa_messages::to_json(message, {.secrets = true}).dump()));
}

void expect_same_when_masked(const MessageSample& sample, const std::string& bytes) {
  const std::string copy = masked(sample, bytes);
  EXPECT_EQ(rendered(sample, bytes), rendered(sample, copy));
  EXPECT_EQ(copy, masked(sample, copy));
}

TEST_P(Secrets, LeaveNoTraceButTheirLengths) {
  const std::string bytes = GetParam().bytes();
  const std::string copy = masked(GetParam(), bytes);
  expect_same_when_masked(GetParam(), bytes);
  std::size_t changed = 0;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (bytes[at] == copy[at]) continue;
    EXPECT_EQ('*', copy[at]);
    ++changed;
  }
  std::size_t secrets = 0;
  for (std::size_t at = bytes.find(sample_secret); at != std::string::npos;
       at = bytes.find(sample_secret, at + 1))
    ++secrets;
  const bool is_local_user = sample_is_local_user(GetParam());
  EXPECT_EQ(secrets * sample_secret.size() + (is_local_user ? numbers_of_a_user * 4 : 0), changed);
}

INSTANTIATE_TEST_SUITE_P(All, Secrets, testing::ValuesIn(samples_with_secrets(message_samples())),
                         row_name);

class DamagedSecrets : public testing::TestWithParam<MessageSample> {};

TEST_P(DamagedSecrets, AreMaskedWhereverTheMessageIsCut) {
  const std::string bytes = GetParam().bytes();
  for (std::size_t size = bytes.find(sample_secret); size < bytes.size(); ++size) {
    const std::string part = bytes.substr(0, size);
    ASSERT_FALSE(shows_secret(masked(GetParam(), part))) << size;
  }
}

// Whichever length or tag is wrong.
TEST_P(DamagedSecrets, AreMaskedWhicheverByteOfTheirItemsIsWrong) {
  const std::string bytes = GetParam().bytes();
  const bool has_large_heads = GetParam().type == 119 || GetParam().type == 120;
  const std::size_t head = bytes.find(sample_secret) - (has_large_heads ? 8 : 4);
  for (std::size_t at = std::max<std::size_t>(16, head); at < bytes.size(); ++at) {
    for (const char wrong : {'\0', '\1', '\x05', '\x19', '\x7f', '\xff'}) {
      std::string copy = bytes;
      copy[at] = wrong;
      ASSERT_FALSE(shows_secret(masked(GetParam(), copy))) << at << " is " << int{wrong};
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, DamagedSecrets,
                         testing::ValuesIn(samples_with_secrets(distinct_samples())), row_name);

TEST(Secrets, OfADirectoryAreValuesOfAttributesThatAreNamedSo) {
  for (const auto& [name, is_secret] :
       std::vector<std::pair<std::string, bool>>{{"userPassword", true},
                                                 {"USERPASSWORD", true},
                                                 {"unicodePwd", true},
                                                 {"krbPrincipalKey", true},
                                                 {"supplementalCredentials", true},
                                                 {"userPKCS12", true},
                                                 {"ipaNTHash", true},
                                                 {"trustAuthIncoming", true},
                                                 {"oathToken", true},
                                                 {"passphrase", true},
                                                 {"mail", false},
                                                 {"cn", false}}) {
    const std::string pair = item_bytes(312, name) + item_bytes(313, "abcdefgh");
    MessageSample sample = message_sample("ldap_answer");
    sample.body = word_bytes({77, 0, 0, 0, 1, 0}) +
                  word_bytes({310 | static_cast<std::uint32_t>(pair.size()) << 16, 1}) + pair;
    const std::string printed = rendered(sample, sample.bytes());
    EXPECT_EQ(is_secret, printed.find("abcdefgh") == std::string::npos) << name;
  }
}

TEST(MaskedMessage, HasNoTraceOfWhatIsBehindTheEndOfALocalUser) {
  MessageSample sample = message_sample("local_update_user");
  for (const std::uint32_t tag : {0, 2, 6}) {
    sample.body = long_item(1, "alice") + word_bytes({tag, 0}) + sample_secret;
    expect_same_when_masked(sample, sample.bytes());
    EXPECT_EQ(long_item(1, "*****") + word_bytes({tag, 0}) + std::string(9, '*'),
              masked(sample, sample.bytes()).substr(16));
  }
}

TEST(MaskedMessage, HasNoEndOfALocalUserInAValue) {
  MessageSample sample = message_sample("local_update_user");
  sample.body = word_bytes({6, 8}) + "pass" + zeros(8);
  EXPECT_EQ(word_bytes({6, 8}) + std::string(12, '*'), masked(sample, sample.bytes()).substr(16));
}

// As a body of another type has them, sent with a type that is wrong.
TEST(Secrets, AreAllBytesBehindTheNulOfAText) {
  for (const char* name : {"register_request", "deregister", "query_mlist", "register_group",
                           "query_authen_mlist", "local_copy_user"}) {
    MessageSample sample = message_sample(name);
    sample.body = message_sample("authen").body;
    EXPECT_FALSE(shows_secret(masked(sample, sample.bytes()))) << name;
    EXPECT_FALSE(shows_secret(rendered(sample, sample.bytes()))) << name;
    expect_same_when_masked(sample, sample.bytes());
  }
}

// `bytes` with those of a secret at this place, and what a masked message has from there on.
std::string masked_behind(const MessageSample& sample, std::string bytes, std::size_t at) {
  bytes.replace(at, sample_secret.size(), sample_secret);
  EXPECT_FALSE(shows_secret(rendered(sample, bytes)));
  expect_same_when_masked(sample, bytes);
  return masked(sample, bytes).substr(at);
}

// A client that fills in records on its stack leaves there what the stack has held.
TEST(MaskedMessage, HasNothingBehindTheNulOfATextInABlock) {
  const MessageSample& sample = message_sample("authen");
  std::string bytes = sample.bytes();
  bytes.replace(218, 65, "alice" + zeros(60));
  EXPECT_EQ("alice" + zeros(60), masked(sample, bytes).substr(218, 65));
  const std::string rest = masked_behind(sample, bytes, 228);
  EXPECT_EQ("alice" + zeros(1), masked(sample, bytes).substr(218, 6));
  EXPECT_EQ(std::string(55, '*') + bytes[283], rest.substr(0, 56));
}

TEST(MaskedMessage, HasNothingBehindTheNulOfATextInAnItem) {
  MessageSample sample = message_sample("authen");
  const std::string ext_text = item_bytes(301, "v301");
  const std::size_t item = sample.body.find(ext_text);
  sample.body.replace(item, ext_text.size(), item_bytes(301, "name" + zeros(12)));
  const std::size_t value = 16 + item + 4;
  EXPECT_EQ(std::string(11, '*'), masked_behind(sample, sample.bytes(), value + 5).substr(0, 11));
  EXPECT_EQ("name" + zeros(1), masked(sample, sample.bytes()).substr(value, 5));
}

TEST(MaskedMessage, HasNothingInReservedBytes) {
  const MessageSample& sample = message_sample("authen");
  const std::string bytes = sample.bytes();
  EXPECT_EQ(zeros(26), masked(sample, bytes).substr(803, 26));
  EXPECT_EQ(std::string(21, '*') + bytes[829], masked_behind(sample, bytes, 808).substr(0, 22));
}

TEST(MaskedMessage, EndsItsItemsWhereTheMessageDoes) {
  MessageSample sample = message_sample("notify_result");
  // What is remarked behind the unknown item is not known when that item is masked.
  sample.body += item_bytes(400, "new") + item_bytes(1, "") + "end";
  expect_same_when_masked(sample, sample.bytes());
}

TEST(MaskedMessage, HasTheSameFieldsWhenNotAllAreListed) {
  for (const char* name : {"notify_result", "author", "local_update_user", "ldap_answer"}) {
    MessageSample sample = message_sample(name);
    for (int i = 0; i < 4500; ++i)
      sample.body += item_bytes(static_cast<std::uint16_t>(i % 500), "x");
    expect_same_when_masked(sample, sample.bytes());
    sample.body = message_sample(name).body;
    while (sample.body.size() < 300000)
      sample.body += sample.body;
    expect_same_when_masked(sample, sample.bytes());
    MessageSample batch = message_sample("batch");
    batch.body = sample.bytes() + message_sample("authen").bytes();
    expect_same_when_masked(batch, batch.bytes());
  }
}

TEST(MaskedMessage, KeepsTheLengthOfAGroupsNameThatIsTooLong) {
  const MessageSample& sample = message_sample("author_group");
  std::string bytes = sample.bytes();
  bytes[16] = '\xff';
  expect_same_when_masked(sample, bytes);
  EXPECT_EQ('\xff', masked(sample, bytes)[16]);
}

TEST(MaskedMessage, HasNoItemsWhereTheHeadOfOneIsMasked) {
  MessageSample sample = message_sample("local_update_user");
  sample.body = word_bytes({1, 7}) + "text";
  std::string bytes = sample.bytes();
  bytes[15] = '\x7f';  // two thousand million bytes of body
  expect_same_when_masked(sample, bytes);
  sample = message_sample("notify_result");
  sample.body += std::string("\xff\0\xff\xff", 4) + std::string(0x2a2a, 'x');
  expect_same_when_masked(sample, sample.bytes());
}

TEST(Secrets, AreAllBytesThatBelongToNoMessage) {
  const MessageSample& sample = message_sample("delete_user");
  EXPECT_EQ("*******", masked(sample, "noise!!"));
  EXPECT_EQ(sample.bytes() + "****", masked(sample, sample.bytes() + "more"));
  EXPECT_EQ(std::string(24, '*'), masked(sample, std::string(24, 'x')));
}

}  // namespace
}  // namespace test::secrets
