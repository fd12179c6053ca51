// LDAP search results, encoded and decoded.
#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "codec/ldap_record_fixture.h"
#include "codec/ldap_two_entries.h"
#include "codec/random_records.h"

namespace test {
namespace {

using testing::ElementsAre;

// The texts and the entries, each with the number of pairs that it claims.
std::string shown(const ldap_search_result& record) {
  std::string all = text(record.item_309) + " " + text(record.item_306);
  for (std::uint32_t i = 0; i < record.head.entry_count; i++) {
    const ldap_dn_entry& entry = record.entries[i];
    all += " [" + std::to_string(entry.pair_count) + " " + text(entry.dn);
    for (std::uint32_t n = 0; entry.pairs != nullptr && n < entry.pair_count; n++)
      all += " " + text(entry.pairs[n].name) + "=" + text(entry.pairs[n].value);
    all += "]";
  }
  return all;
}

class LdapSearchResult
    : public LdapRecord<ldap_search_result, aaa_encap_ldap_search_result_info,
                        aaa_parse_ldap_search_result, aaa_free_ldap_search_result> {
 protected:
  // A head of six words; word 4 is the number of entries.
  static std::string head(std::uint32_t entry_count) {
    return zeros(16) + word_bytes(entry_count) + zeros(4);
  }

  // An entry with the items that `items` has been given.
  static std::string entry(std::uint32_t pair_count, const std::string& items) {
    return tlv_head(310, items.size()) + word_bytes(pair_count) + items;
  }
  // A body whose only entry that is; the array has room for one.
  static std::string one_entry(std::uint32_t pair_count, const std::string& items) {
    return head(1) + entry(pair_count, items);
  }

  // What the encoder makes of a record of this one entry.
  std::string encode_entry(ldap_dn_entry& entry) {
    sent_.head.entry_count = 1;
    sent_.entries = &entry;
    return encode(sent_);
  }

  ldap_search_result sent_{};
  TwoEntries two_;
};

// ---- Encoding. ------------------------------------------------------------------------------

TEST_F(LdapSearchResult, EmptyRecordIsTheHeadAndTwoHeaders) {
  const std::string body = encode(sent_);
  ASSERT_EQ(body.size(), 32U);
  EXPECT_THAT(items_of(body, 24), ElementsAre(Item{309, ""}, Item{306, ""}));
}

TEST_F(LdapSearchResult, HeadIsCarriedByteForByte) {
  sent_.head = {0x01020304, {0x11, 0x12, 0x13}, 0, 0x0A0B0C0D};
  const std::string body = encode(sent_);
  EXPECT_EQ(word_at(body, 0), 0x01020304U);
  EXPECT_EQ(word_at(body, 4), 0x11U);
  EXPECT_EQ(word_at(body, 12), 0x13U);
  EXPECT_EQ(word_at(body, 16), 0U);
  EXPECT_EQ(word_at(body, 20), 0x0A0B0C0DU);
}

TEST_F(LdapSearchResult, EntriesStandBehindTheTextsWithTheirBodyLengths) {
  const std::string body = encode(two_.record);
  const auto texts = head(2) + tlv(309, "R") + tlv(306, "string b");
  EXPECT_EQ(body, texts + tlv_head(310, 4 + 4 + 8 + 2 + 1) + word_bytes(1) + tlv(311, "cn=a") +
                      tlv(312, "n1") + tlv(313, "v") + tlv_head(310, 4 + 6 + 8 + 2 + 1) +
                      word_bytes(1) + tlv(311, "cn=bcd") + tlv(312, "n2") + tlv(313, "w"));
  EXPECT_EQ(body.size(), 32U + 1 + 8 + 8 * 2 + 19 + 21);
}

TEST_F(LdapSearchResult, EncoderWritesTypesAndBodyLengthsIntoTheRecord) {
  encode(two_.record);
  EXPECT_EQ(two_.record.item_309.type, 309);
  EXPECT_EQ(two_.record.item_306.type, 306);
  EXPECT_EQ(two_.entries[1].type, 310);
  EXPECT_EQ(two_.entries[1].len, 21);
  EXPECT_EQ(two_.entries[1].dn.type, 311);
  EXPECT_EQ(two_.second_pair.name.type, 312);
  EXPECT_EQ(two_.second_pair.value.type, 313);
}

TEST_F(LdapSearchResult, EntryHeadersAreCountedWithoutAnArrayAndStayZero) {
  sent_.head.entry_count = 3;
  const std::string body = encode(sent_);
  ASSERT_EQ(body.size(), 32U + 3 * 8);
  EXPECT_EQ(body.substr(32, 24), zeros(24));
}

TEST_F(LdapSearchResult, PairCountWithoutAnArrayWritesNoPairs) {
  ldap_dn_entry entry = {0, 0, 7, item("cn=a"), nullptr};
  const std::string body = encode_entry(entry);
  EXPECT_EQ(body.size(), 32U + 8 + 8);
  EXPECT_EQ(word_at<std::uint16_t>(body, 34), 8);
  EXPECT_EQ(word_at(body, 36), 7U);
}

TEST_F(LdapSearchResult, EntryOver65535BytesIsCountedInFull) {
  const std::string value(40000, 'v');
  ldap_pair pair = {item(value), item(value)};
  ldap_dn_entry entry = {0, 0, 1, item(""), &pair};
  EXPECT_EQ(encode_entry(entry).size(), 32U + 8 + 4 + 8 + 80000);
  EXPECT_EQ(entry.len, static_cast<std::uint16_t>(4 + 8 + 80000));
}

TEST_F(LdapSearchResult, SizeAbove32BitsEndsAsAnAllocationFailure) {
  sent_.head.entry_count = 0x20000000;
  void* body = nullptr;
  EXPECT_EQ(aaa_encap_ldap_search_result_info(&sent_, &body), 0U);
  EXPECT_EQ(counts_.blocks_allocated(), 0U);
}

// ---- Decoding. ------------------------------------------------------------------------------

TEST_F(LdapSearchResult, BodyOfTheHeadAloneHasAPoolOf2Bytes) {
  ASSERT_EQ(decode(head(0)), 1U);
  EXPECT_EQ(record_->pool.size, 2U);
  EXPECT_EQ(record_->pool.used, 0U);
  EXPECT_EQ(record_->entries, nullptr);
}

TEST_F(LdapSearchResult, PoolHas309Then306ThenTheEntries) {
  ASSERT_EQ(decode(encode(two_.record)), 1U);
  std::string found = pool();
  std::replace(found.begin(), found.end(), '\0', ' ');
  EXPECT_EQ(found, "R string b cn=a n1 v cn=bcd n2 w ");
  EXPECT_EQ(record_->pool.used, 33U);
  EXPECT_EQ(record_->entries[1].type, 310);
  EXPECT_EQ(record_->entries[1].len, 21);
  EXPECT_EQ(shown(*record_), "R string b [1 cn=a n1=v] [1 cn=bcd n2=w]");
}

TEST_F(LdapSearchResult, WalkOverTheItemsOfAnEntry) {
  const auto pairs = tlv(312, "n1") + tlv(313, "v1") + tlv(312, "n2") + tlv(313, "v2");
  const std::tuple<const char*, std::uint32_t, std::string, std::string> walks[] = {
      {"an unknown item is skipped by its length", 0,
       tlv(400, "\x37\x01\x01\x00z") + tlv(311, "cn=a"), "[0 cn=a]"},
      {"without a pair array only the headers of names and values are skipped", 0,
       tlv_head(312, 3) + tlv_head(313, 9) + tlv(311, "cn=a"), "[0 cn=a]"},
      {"pairs beyond the count are skipped", 1, pairs + tlv(311, "cn=a"), "[1 cn=a n1=v1]"},
      {"a value moves on to the next pair", 3,
       tlv(312, "a") + tlv(312, "b") + tlv(313, "1") + tlv(313, "2"),
       "[3 (null) b=1 (null)=2 (null)=(null)]"},
      {"a DN reaches into the next item, and the walk goes on behind the entry", 0,
       tlv_head(311, 9) + "cn=a", std::string("[0 cn=a\x32\x01\x01\x00z", 11) + "b]"},
  };
  for (const auto& [name, pair_count, inner, expected] : walks) {
    ASSERT_EQ(decode(one_entry(pair_count, inner) + tlv(306, "b")), 1U) << name;
    EXPECT_EQ(shown(*record_), "(null) b " + expected) << name;
    release();
  }
}

TEST_F(LdapSearchResult, EntriesBeyondTheCountAreSkipped) {
  const auto one = one_entry(0, tlv(311, "cn=a"));
  const std::string other = entry(1, tlv(311, "cn=b"));
  ASSERT_EQ(decode(one + other + tlv(306, "b")), 1U);
  EXPECT_EQ(shown(*record_), "(null) b [0 cn=a]");
  EXPECT_EQ(counts_.blocks_allocated(), 3U) << "the record, the entries, the pool";
}

TEST_F(LdapSearchResult, EntriesThatNoItemFillsAreZero) {
  ASSERT_EQ(decode(head(2)), 1U);
  EXPECT_EQ(shown(*record_), "(null) (null) [0 (null)] [0 (null)]");
  EXPECT_EQ(record_->entries[1].type, 0);
  EXPECT_EQ(record_->pool.size, 4U);
}

TEST_F(LdapSearchResult, OfAnUnknownOuterItemOrAnEntryWithoutAnArrayOnlyTheHeaderIsSkipped) {
  for (const std::uint32_t type : {310U, 400U}) {
    ASSERT_EQ(decode(head(0) + tlv_head(type, 100) + tlv(306, "b")), 1U);
    EXPECT_EQ(shown(*record_), "(null) b") << type;
    release();
  }
}

TEST_F(LdapSearchResult, EntryThatRunsPastTheBodysEndIsFilledUpWithZeros) {
  ASSERT_EQ(decode(head(2) + tlv_head(310, 5000) + hex("0100")), 1U);
  EXPECT_EQ(record_->entries[0].len, 5000);
  EXPECT_EQ(shown(*record_), "(null) (null) [1 (null) (null)=(null)] [0 (null)]");
}

TEST_F(LdapSearchResult, EntryWhosePairsCannotBeAllocatedIsSkipped) {
  const std::string huge = entry(0x08000001, tlv(311, "cn=a"));
  const std::string other = entry(0, tlv(311, "cn=b"));
  ASSERT_EQ(decode(head(2) + huge + other), 1U);
  EXPECT_EQ(record_->entries[0].pairs, nullptr);
  EXPECT_EQ(shown(*record_), "(null) (null) [134217729 (null)] [0 cn=b]");
}

TEST_F(LdapSearchResult, CountWhoseArrayWouldNotFitInto32BitsIsAnAllocationFailure) {
  EXPECT_EQ(decode(head(0x40000000)), 0U);
  EXPECT_EQ(counts_.blocks_allocated(), 1U);
}

TEST_F(LdapSearchResult, NullNoMemoryAndShortBodiesAreRefused) {
  expect_refuses_null_and_no_memory(24);
}

TEST_F(LdapSearchResult, NegativeLengthGivesAnEmptyRecord) {
  decode_negative_length(head(3));
  EXPECT_EQ(record_->head.entry_count, 0U);
  EXPECT_EQ(record_->pool.size, 2U);
}

TEST_F(LdapSearchResult, ReleaseFreesPairsEntriesPoolAndRecord) {
  ASSERT_EQ(decode(encode(two_.record)), 1U);
  counts_ = LibraryCounters();
  release();
  EXPECT_EQ(counts_.blocks_freed(), 5U);
  counts_ = LibraryCounters();
}

// ---- Allocation failures: the record, the entries, two pair arrays, the pool. ---------------

TEST_F(LdapSearchResult, FailureOfTheRecordOrTheEntriesLeavesNothing) {
  const std::string body = encode(two_.record);
  for (const std::uint32_t call : {1U, 2U}) {
    const FailMalloc failure(call);
    EXPECT_EQ(decode(body), 0U);
    EXPECT_EQ(record_, nullptr);
    EXPECT_EQ(counts_.blocks_left(), 0U);
  }
}

TEST_F(LdapSearchResult, FailureOfAPairArraySkipsTheInnerWalkOfThatEntry) {
  const std::string body = encode(two_.record);
  const FailMalloc failure(3);
  ASSERT_EQ(decode(body), 1U);
  EXPECT_EQ(record_->entries[0].pairs, nullptr);
  EXPECT_EQ(shown(*record_), "R string b [1 (null)] [1 cn=bcd n2=w]");
}

TEST_F(LdapSearchResult, FailureOfThePoolLeavesThePairArraysAllocated) {
  const std::string body = encode(two_.record);
  const FailMalloc failure(5);
  EXPECT_EQ(decode(body), 0U);
  EXPECT_TRUE(failure.happened());
  EXPECT_EQ(record_, nullptr);
  blocks_left_ = 2;
}

TEST_F(LdapSearchResult, RandomRecordsSurviveTheRoundTrip) {
  SCOPED_TRACE("AAA_TEST_SEED=" + std::to_string(Random::seed()));
  Random random;
  for (int i = 0; i < 1000 && !HasFailure(); i++) {
    SCOPED_TRACE("record " + std::to_string(i));
    std::vector<std::string> values(64);
    for (auto& value : values)
      value = random.bytes(random.below(60));
    auto next = values.begin();
    std::vector<ldap_pair> pairs(20);
    for (auto& pair : pairs) {
      pair.name = item(*next++);
      pair.value = item(*next++);
    }
    std::vector<ldap_dn_entry> entries(random.below(6));
    for (auto& entry : entries) {
      entry.pair_count = static_cast<std::uint32_t>(random.below(pairs.size() + 1));
      entry.dn = item(*next++);
      entry.pairs = pairs.data();
    }
    sent_.head.entry_count = static_cast<std::uint32_t>(entries.size());
    sent_.item_309 = item(*next++);
    sent_.item_306 = item(*next++);
    sent_.entries = entries.data();
    expect_round_trip(sent_);
  }
}

}  // namespace
}  // namespace test
