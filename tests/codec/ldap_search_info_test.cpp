// LDAP searches, encoded and decoded.
#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "codec/ldap_record_fixture.h"
#include "codec/random_records.h"

namespace test {
namespace {

using testing::ElementsAre;

class LdapSearchInfo : public LdapRecord<ldap_search_info, aaa_encap_ldap_search_info,
                                         aaa_parse_ldap_search_info, aaa_free_ldap_search_info> {
 protected:
  // A head of ten words, the last of which is the number of attributes.
  static std::string head(std::uint32_t attr_count) { return zeros(36) + word_bytes(attr_count); }

  ldap_search_info sent_{};
};

// ---- Encoding. ------------------------------------------------------------------------------

TEST_F(LdapSearchInfo, EmptyRecordIsTheHeadAndThreeHeaders) {
  const std::string body = encode(sent_);
  ASSERT_EQ(body.size(), 52U);
  EXPECT_THAT(items_of(body, 40), ElementsAre(Item{306, ""}, Item{307, ""}, Item{301, ""}));
}

TEST_F(LdapSearchInfo, HeadIsCarriedByteForByte) {
  sent_.head.session_id = 0x01020304;
  std::iota(std::begin(sent_.head.words8_a), std::end(sent_.head.words8_a), 0xA0000001U);
  sent_.head.attr_count = 0x0B0C0D0E;
  const std::string body = encode(sent_);
  EXPECT_EQ(word_at(body, 0), 0x01020304U);
  EXPECT_EQ(word_at(body, 4), 0xA0000001U);
  EXPECT_EQ(word_at(body, 32), 0xA0000008U);
  EXPECT_EQ(word_at(body, 36), 0x0B0C0D0EU);
}

TEST_F(LdapSearchInfo, ItemsStandInTheirOrderWithTheAttributesLastAndGetTheirTypes) {
  aaa_item attributes[] = {item("uid"), item(""), item("mail")};
  sent_.head.attr_count = 3;
  sent_.item_301 = item("string a");
  sent_.item_306 = item("string b");
  sent_.item_307 = item("c");
  sent_.attributes = attributes;
  const std::string body = encode(sent_);
  EXPECT_EQ(body.size(), 52U + 8 + 8 + 1 + (4 + 3) + 4 + (4 + 4));
  EXPECT_THAT(items_of(body, 40),
              ElementsAre(Item{306, "string b"}, Item{307, "c"}, Item{301, "string a"},
                          Item{308, "uid"}, Item{308, ""}, Item{308, "mail"}));
  EXPECT_EQ(sent_.item_301.type, 301);
  EXPECT_EQ(sent_.item_306.type, 306);
  EXPECT_EQ(sent_.item_307.type, 307);
  EXPECT_EQ(attributes[0].type, 308);
}

TEST_F(LdapSearchInfo, CountWithoutAnArrayWritesNoAttributes) {
  sent_.head.attr_count = 4000000000U;
  EXPECT_EQ(encode(sent_).size(), 52U);
}

TEST_F(LdapSearchInfo, ItemWithALengthButNoValueIsWrittenAsZeros) {
  sent_.item_307.len = 3;
  const std::string body = encode(sent_);
  EXPECT_EQ(body.size(), 55U);
  EXPECT_THAT(items_of(body, 40), testing::Contains(Item{307, zeros(3)}));
}

// ---- Decoding. ------------------------------------------------------------------------------

TEST_F(LdapSearchInfo, TheEmptyRecordArrivesWithNullPointersAndAPoolOf3Bytes) {
  ASSERT_EQ(decode(encode(sent_)), 1U);
  EXPECT_EQ(record_->item_301.value, nullptr);
  EXPECT_EQ(record_->item_306.value, nullptr);
  EXPECT_EQ(record_->item_307.value, nullptr);
  EXPECT_EQ(record_->attributes, nullptr);
  EXPECT_EQ(record_->pool.size, 3U);
  EXPECT_EQ(record_->pool.used, 0U);
}

TEST_F(LdapSearchInfo, PoolHas301Then306Then307ThenTheAttributes) {
  const auto texts = head(2) + tlv(306, "bb") + tlv(307, "ccc") + tlv(301, "a");
  ASSERT_EQ(decode(texts + tlv(308, "uid") + tlv(308, "mail")), 1U);
  EXPECT_EQ(pool(), std::string("a\0bb\0ccc\0uid\0mail\0", 18));
  EXPECT_EQ(record_->pool.used, 18U);
  EXPECT_EQ(text(record_->item_301), "a");
  EXPECT_EQ(text(record_->item_306), "bb");
  EXPECT_EQ(text(record_->item_307), "ccc");
  EXPECT_EQ(text(record_->attributes[0]), "uid");
  EXPECT_EQ(text(record_->attributes[1]), "mail");
  EXPECT_EQ(record_->attributes[1].type, 308);
}

TEST_F(LdapSearchInfo, EmptyValuesTakeNoPlaceInThePool) {
  ASSERT_EQ(decode(head(2) + tlv(307, "ccc") + tlv(308, "") + tlv(308, "uid")), 1U);
  EXPECT_EQ(pool(), std::string("ccc\0uid\0\0\0\0", 11));
  EXPECT_EQ(record_->pool.used, 8U);
  EXPECT_EQ(record_->attributes[0].value, nullptr);
}

TEST_F(LdapSearchInfo, RecordDoesNotReferToTheBody) {
  std::string body = head(1) + tlv(301, "text") + tlv(308, "uid");
  ASSERT_EQ(decode(body), 1U);
  std::fill(body.begin(), body.end(), 0xEE);
  EXPECT_EQ(text(record_->item_301), "text");
  EXPECT_EQ(text(record_->attributes[0]), "uid");
}

TEST_F(LdapSearchInfo, OfAnUnknownItemOrAnAttributeWithoutAnArrayOnlyTheHeaderIsSkipped) {
  for (const std::uint32_t type : {302U, 308U}) {
    ASSERT_EQ(decode(head(0) + tlv_head(type, 5) + tlv_head(301, 1) + "a"), 1U);
    EXPECT_EQ(text(record_->item_301), "a") << type;
    release();
  }
}

TEST_F(LdapSearchInfo, AttributesBeyondTheCountAreSkipped) {
  ASSERT_EQ(decode(head(1) + tlv(308, "uid") + tlv(308, "mail") + tlv(301, "a")), 1U);
  EXPECT_EQ(text(record_->attributes[0]), "uid");
  EXPECT_EQ(text(record_->item_301), "a");
  EXPECT_EQ(pool(), std::string("a\0uid\0\0\0", 8));
}

TEST_F(LdapSearchInfo, AttributesThatNoItemFillsAreZero) {
  ASSERT_EQ(decode(head(3) + tlv(308, "uid")), 1U);
  for (int i = 1; i < 3; i++) {
    EXPECT_EQ(record_->attributes[i].type, 0);
    EXPECT_EQ(record_->attributes[i].len, 0);
    EXPECT_EQ(record_->attributes[i].value, nullptr);
  }
}

TEST_F(LdapSearchInfo, ItemThatRunsPastTheBodysEndKeepsItsLengthAndGetsZeros) {
  ASSERT_EQ(decode(head(1) + tlv_head(308, 40000) + "uid"), 1U);
  EXPECT_EQ(text(record_->attributes[0]), "uid" + zeros(39997));
}

TEST_F(LdapSearchInfo, NullNoMemoryAndShortBodiesAreRefused) {
  expect_refuses_null_and_no_memory(40);
}

TEST_F(LdapSearchInfo, NegativeLengthGivesAnEmptyRecord) {
  decode_negative_length(head(3));
  EXPECT_EQ(record_->head.attr_count, 0U);
  EXPECT_EQ(record_->pool.size, 3U);
}

TEST_F(LdapSearchInfo, CountWhoseArrayWouldNotFitInto32BitsIsAnAllocationFailure) {
  EXPECT_EQ(decode(head(0x10000001)), 0U);
  EXPECT_EQ(counts_.blocks_allocated(), 1U);
  EXPECT_EQ(record_, nullptr);
}

TEST_F(LdapSearchInfo, EveryAllocationThatFailsLeavesNothing) {
  const std::string body = head(1) + tlv(308, "uid");
  for (std::uint32_t call = 1; call <= 3; call++) {
    counts_ = LibraryCounters();
    const FailMalloc failure(call);
    EXPECT_EQ(decode(body), 0U);
    EXPECT_TRUE(failure.happened());
    EXPECT_EQ(record_, nullptr);
    EXPECT_EQ(counts_.blocks_allocated(), call - 1);
    EXPECT_EQ(counts_.blocks_left(), 0U);
  }
}

TEST_F(LdapSearchInfo, ReleaseFreesTheAttributesThePoolAndTheRecord) {
  ASSERT_EQ(decode(head(1) + tlv(308, "uid")), 1U);
  EXPECT_EQ(counts_.blocks_allocated(), 3U);
  release();
  EXPECT_EQ(counts_.blocks_freed(), 3U);
}

TEST_F(LdapSearchInfo, RandomRecordsSurviveTheRoundTrip) {
  SCOPED_TRACE("AAA_TEST_SEED=" + std::to_string(Random::seed()));
  Random random;
  for (int i = 0; i < 1000 && !HasFailure(); i++) {
    SCOPED_TRACE("record " + std::to_string(i));
    std::vector<std::string> values(3 + random.below(10));
    for (auto& value : values)
      value = random.value();
    std::vector<aaa_item> attributes;
    for (std::size_t k = 3; k < values.size(); k++)
      attributes.push_back(item(values[k]));
    sent_.head.session_id = static_cast<std::uint32_t>(random.below(1U << 31));
    sent_.head.attr_count = static_cast<std::uint32_t>(attributes.size());
    sent_.item_301 = item(values[0]);
    sent_.item_306 = item(values[1]);
    sent_.item_307 = item(values[2]);
    sent_.attributes = attributes.data();
    expect_round_trip(sent_);
  }
}

}  // namespace
}  // namespace test
