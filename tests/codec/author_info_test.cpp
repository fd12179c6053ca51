#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/block_sample.h"
#include "codec/records.h"

namespace test {
namespace {

BlockSample<author_info> author_sample() {
  BlockSample<author_info> sample(156);
  sample.same(0, &author_info::num_a);
  sample.low_byte(4, &author_info::code_a);
  sample.low_byte(5, &author_info::code_b);
  sample.same(8, &author_info::session_id);
  sample.same(12, &author_info::num_b);
  sample.same(20, &author_info::octets128_a);
  sample.same(148, &author_info::short_a);
  sample.same(150, &author_info::short_b);
  sample.flag(152, &author_info::flag_a);
  sample.not_carried(&author_info::local_word);
  return sample;
}

TEST(AuthorInfo, EveryFieldStandsAtItsPlaceInTheBlock) {
  const auto sample = author_sample();
  Bytes block(156, 0xEE);
  aaa_encap_author_info_sub(block.data(), &sample.sent);
  EXPECT_EQ(block, sample.block);
}

TEST(AuthorInfo, EveryFieldIsReadFromItsPlaceInTheBlock) {
  const auto sample = author_sample();
  author_info record;
  std::memset(&record, 0, sizeof record);
  aaa_parse_author_info_sub(&record, sample.received.data());
  EXPECT_TRUE(same_bytes(record, sample.arrived));
}

TEST(AuthorInfo, BlockOfTheBodyIsTheFixedBlock) {
  auto sample = author_sample();
  sample.sent.tail_len = 0;
  const Bytes body = encoded(aaa_encap_author_info, sample.sent);
  EXPECT_EQ(word16(body, 0), 1);
  EXPECT_EQ(word16(body, 2), 156);
  EXPECT_EQ(Bytes(body.begin() + 4, body.begin() + 4 + 156), sample.block);
}

TEST(AuthorInfo, FlagOtherThan1ArrivesAs0) {
  author_info record{};
  record.flag_a = 2;
  const Decoded<author_info> decoded(encoded(aaa_encap_author_info, record));
  EXPECT_EQ(decoded->flag_a, 0);
}

TEST(AuthorInfo, LocalWordNeverReachesThePeer) {
  author_info record{};
  record.local_word = 0x11223344;
  const Bytes body = encoded(aaa_encap_author_info, record);
  EXPECT_EQ(Bytes(body.begin() + 4, body.begin() + 160), Bytes(156));
}

TEST(AuthorInfo, BodyOf156BytesWhoseOnlyHeaderClaims152LeavesTheFixedPartZero) {
  const Bytes body = BodyBuilder().item(1, std::string(152, 'x')).body();
  ASSERT_EQ(body.size(), 156U);
  const Decoded<author_info> record(body);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(record->num_a, 0U);
  EXPECT_EQ(record->session_id, 0U);
  EXPECT_EQ(record->arena.size, 1U);
}

}  // namespace
}  // namespace test
