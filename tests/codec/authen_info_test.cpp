#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/block_sample.h"
#include "codec/records.h"

namespace test {
namespace {

BlockSample<authen_info> authen_sample() {
  BlockSample<authen_info> sample(1184);
  sample.same(0, &authen_info::num_a);
  sample.low_byte(4, &authen_info::code_a);
  sample.low_byte(5, &authen_info::code_b);
  sample.low_byte(6, &authen_info::code_c);
  sample.flag(7, &authen_info::flag_a);
  sample.flag(8, &authen_info::flag_b);
  sample.flag(9, &authen_info::flag_c);
  sample.same(10, &authen_info::byte_a);
  sample.same(11, &authen_info::octets6_a);
  sample.same(17, &authen_info::octets6_b);
  sample.same(23, &authen_info::octets6_c);
  sample.same(29, &authen_info::octets100_a);
  sample.cut_text(129, &authen_info::chars33_a);
  sample.same(162, &authen_info::octets36_a);
  sample.cut_text(198, &authen_info::chars65_a);
  sample.same(263, &authen_info::octets64_a);
  sample.same(327, &authen_info::octets64_b);
  sample.same(391, &authen_info::byte_c);
  sample.same(392, &authen_info::short_a);
  sample.same(396, &authen_info::num_b);
  sample.same(400, &authen_info::session_id);
  sample.same(404, &authen_info::num_c);
  sample.same(408, &authen_info::num_d);
  sample.same(412, &authen_info::num_e);
  sample.same(416, &authen_info::num_f);
  sample.same(420, &authen_info::num_g);
  sample.same(424, &authen_info::num_h);
  sample.same(428, &authen_info::num_i);
  sample.same(432, &authen_info::num_j);
  sample.same(436, &authen_info::num_k);
  sample.same(440, &authen_info::num_l);
  sample.same(444, &authen_info::num_m);
  sample.same(448, &authen_info::num_n);
  sample.same(452, &authen_info::num_o);
  sample.same(456, &authen_info::ext_data_len);
  sample.same(460, &authen_info::num_p);
  sample.same(464, &authen_info::num_q);
  sample.same(472, &authen_info::octets128_a);
  sample.same(600, &authen_info::short_b);
  sample.same(602, &authen_info::short_c);
  sample.same(604, &authen_info::byte_b);
  sample.same(608, &authen_info::octets16_a);
  sample.same(624, &authen_info::octets16_b);
  sample.same(640, &authen_info::octets16_c);
  sample.flag(656, &authen_info::flag_d);
  sample.same(664, &authen_info::wide_a);
  sample.same(672, &authen_info::octets100_b);
  sample.same(772, &authen_info::num_r);
  sample.cut_text(776, &authen_info::chars7_a);
  sample.same(809, &authen_info::byte_d);
  sample.same(810, &authen_info::octets32_a);
  sample.same(842, &authen_info::octets32_b);
  sample.same(874, &authen_info::octets32_c);
  sample.same(908, &authen_info::num_s);
  sample.same(912, &authen_info::num_t);
  sample.same(916, &authen_info::num_u);
  sample.same(920, &authen_info::octets256_a);
  sample.same(1176, &authen_info::num_v);
  sample.not_carried(&authen_info::local_word);
  sample.not_carried(&authen_info::local_pad);
  return sample;
}

TEST(AuthenInfo, EveryFieldStandsAtItsPlaceInTheBlock) {
  const auto sample = authen_sample();
  Bytes block(1184, 0xEE);
  aaa_encap_authen_info_sub(block.data(), &sample.sent);
  EXPECT_EQ(block, sample.block);
}

TEST(AuthenInfo, EveryFieldIsReadFromItsPlaceInTheBlock) {
  const auto sample = authen_sample();
  authen_info record;
  std::memset(&record, 0, sizeof record);
  aaa_parse_authen_info_sub(&record, sample.received.data());
  EXPECT_TRUE(same_bytes(record, sample.arrived));
}

TEST(AuthenInfo, BlockOfTheBodyIsTheFixedBlock) {
  auto sample = authen_sample();
  sample.sent.tail_len = 0;
  const Bytes body = encoded(aaa_encap_authen_info, sample.sent);
  EXPECT_EQ(word16(body, 0), 1);
  EXPECT_EQ(word16(body, 2), 1184);
  EXPECT_EQ(Bytes(body.begin() + 4, body.begin() + 4 + 1184), sample.block);
}

TEST(AuthenInfo, TextOf33CharactersArrivesWithANulInItsLastByte) {
  authen_info record{};
  std::memset(record.chars33_a, 'x', 33);
  const Bytes body = encoded(aaa_encap_authen_info, record);
  EXPECT_EQ(body[4 + 160], 'x');
  EXPECT_EQ(body[4 + 161], 0);
  const Decoded<authen_info> decoded(body);
  EXPECT_EQ(std::string(decoded->chars33_a), std::string(32, 'x'));
}

TEST(AuthenInfo, FlagsOtherThan1ArriveAs0) {
  for (const std::size_t offset : {7U, 8U, 9U, 656U}) {
    Bytes block(1184);
    block[offset] = 2;
    authen_info record{};
    record.flag_a = record.flag_b = record.flag_c = record.flag_d = 7;
    aaa_parse_authen_info_sub(&record, block.data());
    EXPECT_EQ(record.flag_a + record.flag_b + record.flag_c + record.flag_d, 0) << offset;
  }
}

TEST(AuthenInfo, LocalFieldsArriveAs0) {
  authen_info record{};
  record.local_word = 0x11223344;
  std::memset(record.local_pad, 0x55, sizeof record.local_pad);
  const Decoded<authen_info> decoded(encoded(aaa_encap_authen_info, record));
  EXPECT_EQ(decoded->local_word, 0U);
  EXPECT_THAT(decoded->local_pad, testing::Each(0));
}

}  // namespace
}  // namespace test
