// Encoding of LDAP search results.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/ldap_two_entries.h"
#include "support/failing_allocator.h"

namespace test {
namespace {

using testing::ElementsAre;

TEST(LdapSearchResultEncoding, EmptyRecordIsTheHeadAndTwoHeaders) {
  ldap_search_result record{};
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, record);
  ASSERT_EQ(body.size(), 32U);
  EXPECT_THAT(items_of(body, 24), ElementsAre(Item{309, ""}, Item{306, ""}));
}

TEST(LdapSearchResultEncoding, HeadIsCarriedByteForByte) {
  ldap_search_result record{};
  record.head = {0x01020304, {0x11, 0x12, 0x13}, 0, 0x0A0B0C0D};
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, record);
  EXPECT_EQ(word32(body, 0), 0x01020304U);
  EXPECT_EQ(word32(body, 4), 0x11U);
  EXPECT_EQ(word32(body, 12), 0x13U);
  EXPECT_EQ(word32(body, 16), 0U);
  EXPECT_EQ(word32(body, 20), 0x0A0B0C0DU);
}

TEST(LdapSearchResultEncoding, EntriesStandBehindTheTextsWithTheirBodyLengths) {
  TwoEntries two;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, two.record);
  const auto expected = BodyBuilder()
                            .zeros(16)
                            .word32(2)
                            .zeros(4)
                            .item(309, "R")
                            .item(306, "string b")
                            .header(310, 4 + 4 + 8 + 2 + 1)
                            .word32(1)
                            .item(311, "cn=a")
                            .item(312, "n1")
                            .item(313, "v")
                            .header(310, 4 + 6 + 8 + 2 + 1)
                            .word32(1)
                            .item(311, "cn=bcd")
                            .item(312, "n2")
                            .item(313, "w");
  EXPECT_EQ(body, expected.body());
  EXPECT_EQ(body.size(), 32U + 1 + 8 + 8 * 2 + 19 + 21);
}

TEST(LdapSearchResultEncoding, EncoderWritesTypesAndBodyLengthsIntoTheRecord) {
  TwoEntries two;
  encoded(aaa_encap_ldap_search_result_info, two.record);
  EXPECT_EQ(two.record.item_309.type, 309);
  EXPECT_EQ(two.record.item_306.type, 306);
  EXPECT_EQ(two.entries[1].type, 310);
  EXPECT_EQ(two.entries[1].len, 21);
  EXPECT_EQ(two.entries[1].dn.type, 311);
  EXPECT_EQ(two.second_pair.name.type, 312);
  EXPECT_EQ(two.second_pair.value.type, 313);
}

TEST(LdapSearchResultEncoding, EntryHeadersAreCountedWithoutAnArrayAndStayZero) {
  ldap_search_result record{};
  record.head.entry_count = 3;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, record);
  ASSERT_EQ(body.size(), 32U + 3 * 8);
  EXPECT_EQ(Bytes(body.begin() + 32, body.end()), Bytes(24));
}

TEST(LdapSearchResultEncoding, PairCountWithoutAnArrayWritesNoPairs) {
  ldap_dn_entry entry = {0, 0, 7, item("cn=a"), nullptr};
  ldap_search_result record{};
  record.head.entry_count = 1;
  record.entries = &entry;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, record);
  EXPECT_EQ(body.size(), 32U + 8 + 8);
  EXPECT_EQ(word16(body, 34), 8);
  EXPECT_EQ(word32(body, 36), 7U);
}

TEST(LdapSearchResultEncoding, EntryOver65535BytesIsCountedInFull) {
  const std::string value(40000, 'v');
  ldap_pair pair = {item(value), item(value)};
  ldap_dn_entry entry = {0, 0, 1, item(""), &pair};
  ldap_search_result record{};
  record.head.entry_count = 1;
  record.entries = &entry;
  const Bytes body = encoded(aaa_encap_ldap_search_result_info, record);
  EXPECT_EQ(body.size(), 32U + 8 + 4 + 8 + 80000);
  EXPECT_EQ(entry.len, static_cast<std::uint16_t>(4 + 8 + 80000));
}

TEST(LdapSearchResultEncoding, SizeAbove32BitsEndsAsAnAllocationFailure) {
  const BlockCounts counts;
  ldap_search_result record{};
  record.head.entry_count = 0x20000000;
  void* body = nullptr;
  EXPECT_EQ(aaa_encap_ldap_search_result_info(&record, &body), 0U);
  EXPECT_EQ(counts.allocated(), 0U);
}

TEST(LdapSearchResultEncoding, EncoderRefusesNullAndExhaustedMemory) {
  ldap_search_result record{};
  void* body = nullptr;
  EXPECT_EQ(aaa_encap_ldap_search_result_info(nullptr, &body), 0U);
  EXPECT_EQ(aaa_encap_ldap_search_result_info(&record, nullptr), 0U);
  const FailMalloc failure(1);
  EXPECT_EQ(aaa_encap_ldap_search_result_info(&record, &body), 0U);
  EXPECT_EQ(body, nullptr);
}

}  // namespace
}  // namespace test
