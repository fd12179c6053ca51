#include <gtest/gtest.h>

#include "codec/block_sample.h"

namespace test {
namespace {

BlockSample<restore_user_info> restore_sample() {
  BlockSample<restore_user_info> sample(392);
  sample.same(0, &restore_user_info::num_a);
  sample.same(4, &restore_user_info::octets6_a);
  sample.same(10, &restore_user_info::octets6_b);
  sample.same(16, &restore_user_info::chars253_a);
  sample.same(270, &restore_user_info::octets64_a);
  sample.low_byte(335, &restore_user_info::code_a);
  sample.same(336, &restore_user_info::num_b);
  sample.same(340, &restore_user_info::num_c);
  sample.same(348, &restore_user_info::num_d);
  sample.same(352, &restore_user_info::octets16_a);
  sample.same(368, &restore_user_info::num_e);
  sample.same(372, &restore_user_info::num_f);
  sample.same(376, &restore_user_info::octets6_c);
  sample.same(384, &restore_user_info::num_g);
  sample.same(388, &restore_user_info::num_h);
  sample.not_carried(&restore_user_info::local_a);
  sample.not_carried(&restore_user_info::local_b);
  return sample;
}

TEST(RestoreUser, EveryFieldStandsAtItsPlaceInTheBlock) {
  const auto sample = restore_sample();
  Bytes block(392, 0xEE);
  aaa_encap_restore_user(&sample.sent, block.data());
  EXPECT_EQ(block, sample.block);
}

TEST(RestoreUser, NullArgumentsAreIgnored) {
  const restore_user_info record{};
  Bytes block(392, 0xEE);
  aaa_encap_restore_user(nullptr, block.data());
  aaa_encap_restore_user(&record, nullptr);
  EXPECT_EQ(block, Bytes(392, 0xEE));
}

}  // namespace
}  // namespace test
