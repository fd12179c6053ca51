// The fixed blocks of the records: where each field stands, and what becomes of flags.
#include "codec/block_sample.h"
#include "codec/info_record_fixture.h"

namespace test {
namespace {

// clang-format off
void describe(BlockSample<authen_info>& s) {
  using R = authen_info;
  s.same(0, &R::num_a);            s.low_byte(4, &R::code_a);       s.low_byte(5, &R::code_b);
  s.low_byte(6, &R::code_c);       s.flag(7, &R::flag_a);           s.flag(8, &R::flag_b);
  s.flag(9, &R::flag_c);           s.same(10, &R::byte_a);          s.same(11, &R::octets6_a);
  s.same(17, &R::octets6_b);       s.same(23, &R::octets6_c);       s.same(29, &R::octets100_a);
  s.cut_text(129, &R::chars33_a);  s.same(162, &R::octets36_a);     s.cut_text(198, &R::chars65_a);
  s.same(263, &R::octets64_a);     s.same(327, &R::octets64_b);     s.same(391, &R::byte_c);
  s.same(392, &R::short_a);        s.same(396, &R::num_b);          s.same(400, &R::session_id);
  s.same(404, &R::num_c);          s.same(408, &R::num_d);          s.same(412, &R::num_e);
  s.same(416, &R::num_f);          s.same(420, &R::num_g);          s.same(424, &R::num_h);
  s.same(428, &R::num_i);          s.same(432, &R::num_j);          s.same(436, &R::num_k);
  s.same(440, &R::num_l);          s.same(444, &R::num_m);          s.same(448, &R::num_n);
  s.same(452, &R::num_o);          s.same(456, &R::ext_data_len);   s.same(460, &R::num_p);
  s.same(464, &R::num_q);          s.same(472, &R::octets128_a);    s.same(600, &R::short_b);
  s.same(602, &R::short_c);        s.same(604, &R::byte_b);         s.same(608, &R::octets16_a);
  s.same(624, &R::octets16_b);     s.same(640, &R::octets16_c);     s.flag(656, &R::flag_d);
  s.same(664, &R::wide_a);         s.same(672, &R::octets100_b);    s.same(772, &R::num_r);
  s.cut_text(776, &R::chars7_a);   s.same(809, &R::byte_d);         s.same(810, &R::octets32_a);
  s.same(842, &R::octets32_b);     s.same(874, &R::octets32_c);     s.same(908, &R::num_s);
  s.same(912, &R::num_t);          s.same(916, &R::num_u);          s.same(920, &R::octets256_a);
  s.same(1176, &R::num_v);         s.not_carried(&R::local_word);   s.not_carried(&R::local_pad);
}

void describe(BlockSample<author_info>& s) {
  using R = author_info;
  s.same(0, &R::num_a);            s.low_byte(4, &R::code_a);       s.low_byte(5, &R::code_b);
  s.same(8, &R::session_id);       s.same(12, &R::num_b);           s.same(20, &R::octets128_a);
  s.same(148, &R::short_a);        s.same(150, &R::short_b);        s.flag(152, &R::flag_a);
  s.not_carried(&R::local_word);
}

void describe(BlockSample<acct_info>& s) {
  using R = acct_info;
  s.same(0, &R::num_a);            s.low_byte(4, &R::code_a);       s.low_byte(5, &R::code_b);
  s.low_byte(6, &R::code_c);       s.same(7, &R::byte_a);           s.same(8, &R::octets6_a);
  s.same(14, &R::octets6_b);       s.same(20, &R::octets6_c);       s.same(26, &R::octets100_a);
  s.same(126, &R::words8_a);       s.same(158, &R::byte_b);         s.same(159, &R::chars65_a);
  s.same(224, &R::words32_a);      s.same(352, &R::byte_d);         s.same(354, &R::short_a);
  s.same(356, &R::num_f);          s.same(360, &R::num_c);          s.same(364, &R::num_d);
  s.same(368, &R::num_e);          s.same(372, &R::num_b);          s.same(376, &R::words8_b);
  s.same(408, &R::session_id);     s.same(412, &R::num_g);          s.same(416, &R::num_k);
  s.same(420, &R::words4_a);       s.same(436, &R::num_i);          s.same(440, &R::num_j);
  s.same(444, &R::words7_a);       s.same(472, &R::byte_c);         s.same(476, &R::octets16_a);
  s.same(492, &R::octets16_b);     s.same(508, &R::octets16_c);     s.same(524, &R::num_h);
  s.same(528, &R::octets128_a);    s.same(656, &R::short_b);        s.same(658, &R::short_c);
  s.flag(660, &R::flag_a);         s.same(664, &R::octets100_b);    s.same(764, &R::num_l);
  s.flag(768, &R::flag_b);         s.not_carried(&R::local_word);
}

void describe(BlockSample<result_info_sub>& s) {
  using R = result_info_sub;
  s.same(0, &R::num_a);            s.low_byte(4, &R::code_a);       s.low_byte(5, &R::code_b);
  s.low_byte(6, &R::code_c);       s.low_byte(7, &R::code_d);       s.low_byte(8, &R::code_e);
  s.low_byte(9, &R::code_f);       s.low_byte(10, &R::code_g);      s.same(11, &R::chars65_a);
  s.same(76, &R::octets256_a);     s.same(332, &R::words16_a);      s.same(396, &R::chars65_b);
  s.same(461, &R::chars65_c);      s.same(526, &R::num_e);          s.same(530, &R::short_c);
  s.low_byte(532, &R::code_h);     s.same(533, &R::byte_a);         s.same(534, &R::words8_a);
  s.same(566, &R::byte_b);         s.wide_flag(568, &R::flag_a);    s.same(572, &R::session_id);
  s.same(576, &R::num_b);          s.same(580, &R::words5_a);       s.same(600, &R::num_c);
  s.same(604, &R::words19_a);      s.same(680, &R::octets276_a);    s.same(956, &R::num_d);
  s.same(960, &R::words4_a);       s.same(976, &R::ext_data_len);   s.same(980, &R::words5_b);
  s.received_only(1000, &R::octets128_b);                           s.same(1128, &R::octets128_a);
  s.same(1256, &R::short_a);       s.same(1258, &R::short_b);       s.flag(1260, &R::flag_b);
  s.same(1264, &R::num_f);         s.same(1272, &R::wide_a);        s.not_carried(&R::local_word);
  s.not_carried(&R::local_block);  s.not_carried(&R::local_tail);   s.not_carried(&R::local_last);
}

void describe(BlockSample<restore_user_info>& s) {
  using R = restore_user_info;
  s.same(0, &R::num_a);            s.same(4, &R::octets6_a);        s.same(10, &R::octets6_b);
  s.same(16, &R::chars253_a);      s.same(270, &R::octets64_a);     s.low_byte(335, &R::code_a);
  s.same(336, &R::num_b);          s.same(340, &R::num_c);          s.same(348, &R::num_d);
  s.same(352, &R::octets16_a);     s.same(368, &R::num_e);          s.same(372, &R::num_f);
  s.same(376, &R::octets6_c);      s.same(384, &R::num_g);          s.same(388, &R::num_h);
  s.not_carried(&R::local_a);      s.not_carried(&R::local_b);
}
// clang-format on

// The fields of the block, which a result keeps in a record of their own.
template <typename Record>
auto& block_fields(Record& record) {
  if constexpr (requires { record.sub; }) {
    return record.sub;
  } else {
    return record;
  }
}

template <typename Record>
class FixedBlock : public InfoRecord<Record> {
 protected:
  using C = Codec<Record>;
  using Fields = std::remove_reference_t<decltype(block_fields(std::declval<Record&>()))>;

  FixedBlock() { describe(sample_); }

  BlockSample<Fields> sample_{C::block_size};
};
TYPED_TEST_SUITE(FixedBlock, InfoRecords);

TYPED_TEST(FixedBlock, HasEveryFieldAtItsPlace) {
  block_fields(this->record_) = this->sample_.sent;
  EXPECT_EQ(this->block_of(this->record_), this->sample_.block);
}

TYPED_TEST(FixedBlock, IsReadFromThosePlaces) {
  TestFixture::C::decode_block(&this->record_, this->sample_.received.data());
  EXPECT_TRUE(same_bytes(block_fields(this->record_), this->sample_.arrived));
}

TYPED_TEST(FixedBlock, IsTheFirstItemOfTheBody) {
  block_fields(this->record_) = this->sample_.sent;
  this->record_.tail_len = 0;
  const std::string body = this->encode();
  EXPECT_EQ(word_at<std::uint16_t>(body, 0), 1);
  EXPECT_EQ(word_at<std::uint16_t>(body, 2), TestFixture::C::block_size);
  EXPECT_EQ(body.substr(4, TestFixture::C::block_size), this->sample_.block);
}

TYPED_TEST(FixedBlock, OtherFlagsThan1TravelAndArriveAs0) {
  for (const auto& [offset, flag] : this->sample_.flags) {
    for (const std::uint8_t value : {std::uint8_t{2}, std::uint8_t{255}}) {
      auto sent = this->empty_record();
      block_fields(sent).*flag = value;
      const std::string block = this->block_of(sent);
      EXPECT_EQ(block[offset], static_cast<char>(value)) << offset;
      block_fields(this->record_).*flag = 7;
      TestFixture::C::decode_block(&this->record_, block.data());
      EXPECT_EQ(block_fields(this->record_).*flag, 0) << offset;
    }
  }
}

TEST(ResultFlags, FlagAIsAny16BitsThatAreNot0) {
  for (const std::size_t offset : {568U, 569U}) {
    std::string block = zeros(1280);
    block[offset] = 2;
    result_info record{};
    aaa_parse_result_info_sub(&record, block.data());
    EXPECT_EQ(record.sub.flag_a, 1) << offset;
  }
}

TEST(ResultFlags, FlagATravelsAs16Bits) {
  result_info record{};
  record.sub.flag_a = 2;
  EXPECT_EQ(word_at<std::uint16_t>(encoded_body(aaa_encap_result_info, record), 4 + 568), 2);
}

TEST(RestoreUser, EveryFieldStandsAtItsPlaceInTheBlock) {
  BlockSample<restore_user_info> sample(392);
  describe(sample);
  std::string block(392, '\xEE');
  aaa_encap_restore_user(&sample.sent, block.data());
  EXPECT_EQ(block, sample.block);
}

TEST(RestoreUser, NullArgumentsAreIgnored) {
  const restore_user_info record{};
  std::string block(392, '\xEE');
  aaa_encap_restore_user(nullptr, block.data());
  aaa_encap_restore_user(&record, nullptr);
  EXPECT_EQ(block, std::string(392, '\xEE'));
}

}  // namespace
}  // namespace test
