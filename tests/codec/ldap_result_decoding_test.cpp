// Decoding of LDAP search results.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "codec/ldap_two_entries.h"
#include "codec/random_records.h"
#include "support/failing_allocator.h"

namespace test {
namespace {

class LdapSearchResultDecoding : public testing::Test {
 protected:
  ~LdapSearchResultDecoding() override {
    aaa_free_ldap_search_result(record_);
    EXPECT_EQ(counts_.live(), 0U);
  }

  std::uint32_t decode(const Bytes& body) {
    return decode(body, static_cast<std::int32_t>(body.size()));
  }

  std::uint32_t decode(const Bytes& body, std::int32_t length) {
    return aaa_parse_ldap_search_result(&record_, body.data(), length);
  }

  // A head of six words; word 4 is the number of entries.
  static BodyBuilder head(std::uint32_t entry_count) {
    return BodyBuilder().zeros(16).word32(entry_count).zeros(4);
  }

  // An entry with the items that `items` has been given.
  static std::string entry(std::uint32_t pair_count, const BodyBuilder& items) {
    const Bytes& body = items.body();
    BodyBuilder whole;
    whole.header(310, body.size()).word32(pair_count).bytes(text(body.data(), body.size()));
    return text(whole.body().data(), whole.body().size());
  }

  static BodyBuilder items() { return BodyBuilder(); }

  std::string pool() const { return text(record_->pool.base, record_->pool.size); }

  TrackedHeap heap_;
  BlockCounts counts_;
  ldap_search_result* record_ = nullptr;
};

TEST_F(LdapSearchResultDecoding, BodyOfTheHeadAloneHasAPoolOf2Bytes) {
  ASSERT_EQ(decode(head(0).body()), 1U);
  EXPECT_EQ(record_->pool.size, 2U);
  EXPECT_EQ(record_->pool.used, 0U);
  EXPECT_EQ(record_->entries, nullptr);
}

TEST_F(LdapSearchResultDecoding, PoolHolds309Then306ThenTheEntries) {
  TwoEntries two;
  ASSERT_EQ(decode(encoded(aaa_encap_ldap_search_result_info, two.record)), 1U);
  const std::string expected = "R string b cn=a n1 v cn=bcd n2 w ";
  std::string found = pool();
  for (std::size_t i = 0; i < found.size(); i++)
    found[i] = found[i] == '\0' ? ' ' : found[i];
  EXPECT_EQ(found, expected);
  EXPECT_EQ(record_->pool.used, expected.size());
  ASSERT_EQ(record_->head.entry_count, 2U);
  EXPECT_EQ(record_->entries[1].type, 310);
  EXPECT_EQ(record_->entries[1].len, 21);
  EXPECT_EQ(record_->entries[1].pair_count, 1U);
  EXPECT_EQ(text(record_->entries[1].dn), "cn=bcd");
  EXPECT_EQ(text(record_->entries[1].pairs[0].name), "n2");
  EXPECT_EQ(text(record_->entries[1].pairs[0].value), "w");
}

TEST_F(LdapSearchResultDecoding, InnerItemOfUnknownTypeIsSkippedByItsLength) {
  const auto inner = items().item(400, "\x37\x01\x01\x00z").item(311, "cn=a");
  ASSERT_EQ(decode(head(1).bytes(entry(0, inner)).item(306, "b").body()), 1U);
  EXPECT_EQ(text(record_->entries[0].dn), "cn=a");
  EXPECT_EQ(text(record_->item_306), "b");
}

TEST_F(LdapSearchResultDecoding, NamesAndValuesWithoutAPairArrayStepPastTheirHeadersOnly) {
  const auto inner = items().header(312, 3).header(313, 9).item(311, "cn=a");
  ASSERT_EQ(decode(head(1).bytes(entry(0, inner)).body()), 1U);
  EXPECT_EQ(text(record_->entries[0].dn), "cn=a");
  EXPECT_EQ(record_->entries[0].pairs, nullptr);
}

TEST_F(LdapSearchResultDecoding, PairsBeyondTheCountArePassedOver) {
  const auto inner =
      items().item(312, "n1").item(313, "v1").item(312, "n2").item(313, "v2").item(311, "cn=a");
  ASSERT_EQ(decode(head(1).bytes(entry(1, inner)).body()), 1U);
  EXPECT_EQ(text(record_->entries[0].pairs[0].name), "n1");
  EXPECT_EQ(text(record_->entries[0].pairs[0].value), "v1");
  EXPECT_EQ(text(record_->entries[0].dn), "cn=a");
}

TEST_F(LdapSearchResultDecoding, ValueMovesOnToTheNextPair) {
  const auto inner = items().item(312, "a").item(312, "b").item(313, "1").item(313, "2");
  ASSERT_EQ(decode(head(1).bytes(entry(3, inner)).body()), 1U);
  const ldap_pair* pairs = record_->entries[0].pairs;
  EXPECT_EQ(text(pairs[0].name), "b");
  EXPECT_EQ(text(pairs[0].value), "1");
  EXPECT_EQ(text(pairs[1].name), "(null)");
  EXPECT_EQ(text(pairs[1].value), "2");
  EXPECT_EQ(text(pairs[2].value), "(null)");
}

TEST_F(LdapSearchResultDecoding, EntriesBeyondTheCountArePassedOver) {
  const std::string one = entry(0, items().item(311, "cn=a"));
  const std::string other = entry(1, items().item(311, "cn=b"));
  ASSERT_EQ(decode(head(1).bytes(one).bytes(other).item(306, "b").body()), 1U);
  EXPECT_EQ(text(record_->entries[0].dn), "cn=a");
  EXPECT_EQ(text(record_->item_306), "b");
  EXPECT_EQ(counts_.allocated(), 3U) << "the record, the entries, the pool";
}

TEST_F(LdapSearchResultDecoding, EntriesThatNoItemFillsAreZero) {
  ASSERT_EQ(decode(head(2).body()), 1U);
  EXPECT_EQ(record_->entries[1].type, 0);
  EXPECT_EQ(record_->entries[1].pair_count, 0U);
  EXPECT_EQ(record_->entries[1].dn.value, nullptr);
  EXPECT_EQ(record_->pool.size, 4U);
}

TEST_F(LdapSearchResultDecoding, EntryWithoutAnArrayIsPassedByItsHeaderOnly) {
  ASSERT_EQ(decode(head(0).header(310, 100).item(306, "b").body()), 1U);
  EXPECT_EQ(text(record_->item_306), "b");
}

TEST_F(LdapSearchResultDecoding, OfAnUnknownOuterItemOnlyTheHeaderIsSkipped) {
  ASSERT_EQ(decode(head(0).header(400, 100).item(306, "b").body()), 1U);
  EXPECT_EQ(text(record_->item_306), "b");
}

TEST_F(LdapSearchResultDecoding, OuterWalkGoesOnBehindTheEntryWhateverTheInnerWalkDid) {
  // The DN claims more than its entry holds; its bytes reach into the next item.
  const auto inner = items().header(311, 9).bytes("cn=a");
  ASSERT_EQ(decode(head(1).bytes(entry(0, inner)).item(306, "b").body()), 1U);
  EXPECT_EQ(text(record_->entries[0].dn), std::string("cn=a\x32\x01\x01\x00z", 8) + "b");
  EXPECT_EQ(text(record_->item_306), "b");
}

TEST_F(LdapSearchResultDecoding, EntryThatRunsPastTheBodysEndIsFilledUpWithZeros) {
  ASSERT_EQ(decode(head(2).header(310, 5000).word16(1).body()), 1U);
  EXPECT_EQ(record_->entries[0].len, 5000);
  EXPECT_EQ(record_->entries[0].pair_count, 1U);
  EXPECT_EQ(record_->entries[0].pairs[0].name.value, nullptr);
}

TEST_F(LdapSearchResultDecoding, EntryWhosePairsCannotBeAllocatedIsPassedOver) {
  const std::string huge = entry(0x08000001, items().item(311, "cn=a"));
  const std::string other = entry(0, items().item(311, "cn=b"));
  ASSERT_EQ(decode(head(2).bytes(huge).bytes(other).body()), 1U);
  EXPECT_EQ(record_->entries[0].pairs, nullptr);
  EXPECT_EQ(record_->entries[0].dn.value, nullptr);
  EXPECT_EQ(record_->entries[0].pair_count, 0x08000001U);
  EXPECT_EQ(text(record_->entries[1].dn), "cn=b");
}

TEST_F(LdapSearchResultDecoding, CountWhoseArrayWouldNotFitInto32BitsIsAnAllocationFailure) {
  EXPECT_EQ(decode(head(0x40000000).body()), 0U);
  EXPECT_EQ(counts_.allocated(), 1U);
}

TEST_F(LdapSearchResultDecoding, NullArgumentsAndShortBodiesAreRefused) {
  const Bytes body(23);
  EXPECT_EQ(decode(body), 0U);
  EXPECT_EQ(aaa_parse_ldap_search_result(nullptr, body.data(), 24), 0U);
  EXPECT_EQ(aaa_parse_ldap_search_result(&record_, nullptr, 24), 0U);
  EXPECT_EQ(counts_.allocated(), 0U);
}

TEST_F(LdapSearchResultDecoding, NegativeLengthGivesAnEmptyRecord) {
  ASSERT_EQ(decode(head(3).body(), std::numeric_limits<std::int32_t>::min()), 1U);
  EXPECT_EQ(record_->head.entry_count, 0U);
  EXPECT_EQ(record_->pool.size, 2U);
}

TEST_F(LdapSearchResultDecoding, ReleaseFreesPairsEntriesPoolAndRecord) {
  TwoEntries two;
  ASSERT_EQ(decode(encoded(aaa_encap_ldap_search_result_info, two.record)), 1U);
  counts_ = BlockCounts();
  aaa_free_ldap_search_result(record_);
  record_ = nullptr;
  EXPECT_EQ(counts_.freed(), 5U);
  counts_ = BlockCounts();
}

// ---- Allocation failures: the record, the entries, two pair arrays, the pool. ---------------

TEST_F(LdapSearchResultDecoding, FailureOfTheRecordOrTheEntriesLeavesNothing) {
  TwoEntries two;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, two.record);
  for (const std::uint32_t call : {1U, 2U}) {
    const FailMalloc failure(call);
    EXPECT_EQ(decode(body), 0U);
    EXPECT_EQ(record_, nullptr);
    EXPECT_EQ(counts_.live(), 0U);
  }
}

TEST_F(LdapSearchResultDecoding, FailureOfAPairArraySkipsTheInnerWalkOfThatEntry) {
  TwoEntries two;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, two.record);
  const FailMalloc failure(3);
  ASSERT_EQ(decode(body), 1U);
  EXPECT_EQ(record_->entries[0].dn.value, nullptr);
  EXPECT_EQ(record_->entries[0].pairs, nullptr);
  EXPECT_EQ(text(record_->entries[1].pairs[0].value), "w");
}

TEST_F(LdapSearchResultDecoding, FailureOfThePoolLeavesThePairArraysAllocated) {
  TwoEntries two;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, two.record);
  counts_ = BlockCounts();
  const FailMalloc failure(5);
  EXPECT_EQ(decode(body), 0U);
  EXPECT_TRUE(failure.happened());
  EXPECT_EQ(record_, nullptr);
  EXPECT_EQ(counts_.live(), 2U);
  counts_ = BlockCounts();
}

TEST_F(LdapSearchResultDecoding, RandomRecordsSurviveTheRoundTrip) {
  SCOPED_TRACE("AAA_TEST_SEED=" + std::to_string(Random::seed()));
  Random random;
  for (int i = 0; i < 1000; i++) {
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
    ldap_search_result sent{};
    sent.head.entry_count = static_cast<std::uint32_t>(entries.size());
    sent.item_309 = item(*next++);
    sent.item_306 = item(*next++);
    sent.entries = entries.data();
    const Bytes body = encoded(aaa_encap_ldap_search_result_info, sent);
    ASSERT_EQ(decode(body), 1U);
    ASSERT_EQ(encoded(aaa_encap_ldap_search_result_info, *record_), body);
    aaa_free_ldap_search_result(record_);
    record_ = nullptr;
  }
}

}  // namespace
}  // namespace test
