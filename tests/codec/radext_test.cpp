// RADIUS-extension messages: the fixed block in both directions.
#include <array>
#include <tuple>

#include "codec/block_sample.h"

namespace test {
namespace {

constexpr std::size_t kBlockSize = 2788;

std::string sent_block(const radext_msg& record) {
  std::string block = zeros(kBlockSize);
  aaa_encap_radext_msg_sub(block.data(), &record);
  return block;
}

// The fields that both records carry, but for the texts and the flag.
template <typename Record>
BlockSample<Record> make_sample() {
  BlockSample<Record> sample(kBlockSize);
  sample.same(0, &Record::octets128_a);
  sample.same(128, &Record::short_a);
  sample.same(130, &Record::byte_a);
  sample.same(132, &Record::words4_a);
  sample.same(152, &Record::num_a);
  sample.same(156, &Record::num_b);
  sample.same(160, &Record::octets128_b);
  sample.same(800, &Record::num_c);
  sample.same(804, &Record::num_d);
  sample.same(824, &Record::num_e);
  sample.same(2100, &Record::octets416_a);
  sample.same(2516, &Record::byte_b);
  sample.same(2520, &Record::num_f);
  sample.same(2524, &Record::num_g);
  return sample;
}

TEST(Radext, EveryFieldStandsAtItsPlaceInTheBlock) {
  auto sample = make_sample<radext_msg>();
  sample.same(2528, &radext_msg::byte_c);
  sample.same(2529, &radext_msg::short_b);
  sample.not_carried(&radext_msg::local_a);
  sample.not_carried(&radext_msg::local_b);
  sample.not_carried(&radext_msg::local_c);
  sample.not_carried(&radext_msg::local_d);
  EXPECT_EQ(sent_block(sample.sent), sample.block);
}

TEST(Radext, EveryFieldIsReadFromItsPlaceInTheBlock) {
  const auto sample = make_sample<radext_msg_info>();
  radext_msg_info record;
  std::memset(&record, 0, sizeof record);
  aaa_parse_radext_msg_sub(sample.received.data(), &record);
  EXPECT_TRUE(same_bytes(record, sample.arrived));
}

TEST(Radext, TextsStandAtTheirPlacesInTheBlock) {
  radext_msg record{};
  std::string expected = zeros(kBlockSize);
  const auto stands_at = [&](std::size_t place, const char* radext_msg::*member, const char* text) {
    record.*member = text;
    expected.replace(place, 6, text);
  };
  stands_at(288, &radext_msg::text_a, "text a");
  stands_at(544, &radext_msg::text_b, "text b");
  stands_at(828, &radext_msg::text_c, "text c");
  stands_at(1082, &radext_msg::text_d, "text d");
  stands_at(1336, &radext_msg::text_e, "text e");
  stands_at(1590, &radext_msg::text_f, "text f");
  stands_at(1844, &radext_msg::text_g, "text g");
  stands_at(2531, &radext_msg::text_h, "text h");
  EXPECT_EQ(sent_block(record), expected);
}

TEST(Radext, TextsAreReadFromTheirPlaces) {
  std::string block = zeros(kBlockSize);
  char name = 'a';
  for (const std::size_t place : {288, 544, 828, 1082, 1336, 1590, 1844})
    block[place] = name++;
  radext_msg_info record{};
  aaa_parse_radext_msg_sub(block.data(), &record);
  EXPECT_THAT(
      (std::array<std::string, 7>{record.text_a, record.text_b, record.text_c, record.text_d,
                                  record.text_e, record.text_f, record.text_g}),
      testing::ElementsAre("a", "b", "c", "d", "e", "f", "g"));
}

TEST(Radext, TextOf300CharactersArrivesAsItsFirst253FollowedByNul) {
  const std::string long_text = std::string(253, 'x') + std::string(47, 'y');
  radext_msg record{};
  record.text_a = record.text_b = record.text_c = record.text_g = long_text.c_str();
  const std::string block = sent_block(record);
  EXPECT_EQ(block.substr(288, 256), std::string(253, 'x') + zeros(3));
  EXPECT_EQ(block.substr(1844, 256), std::string(253, 'x') + zeros(3));
  radext_msg_info info{};
  aaa_parse_radext_msg_sub(block.data(), &info);
  for (const char* arrived : {info.text_a, info.text_b, info.text_c, info.text_g})
    EXPECT_EQ(arrived, std::string(253, 'x'));
}

TEST(Radext, ReceivedTextWithoutANulIsCutAt253CharactersAndTheLocalBlockIsLeftAlone) {
  const std::string block(kBlockSize, 'z');
  radext_msg_info record;
  std::memset(&record, 0x77, sizeof record);
  aaa_parse_radext_msg_sub(block.data(), &record);
  EXPECT_EQ(record.text_a, std::string(253, 'z'));
  EXPECT_EQ(record.text_g, std::string(253, 'z'));
  EXPECT_THAT(record.local_block, testing::Each(0x77));
}

TEST(Radext, EncoderDoesNotClearTheBlockAndSendsUpTo250CharactersOfTextHWithoutNul) {
  const std::string longest(250, 'h'), too_long(251, 'h');
  radext_msg record{};
  std::string block(kBlockSize, '\xEE');
  aaa_encap_radext_msg_sub(block.data(), &record);
  for (const std::size_t reserved :
       {131U, 288U, 544U, 808U, 823U, 828U, 2098U, 2517U, 2531U, 2787U}) {
    EXPECT_EQ(block[reserved], '\xEE') << reserved;
  }
  record.text_h = longest.c_str();
  aaa_encap_radext_msg_sub(block.data(), &record);
  EXPECT_EQ(block.substr(2531, 250), longest);
  EXPECT_EQ(block[2781], '\xEE');
  record.text_h = too_long.c_str();
  EXPECT_EQ(sent_block(record), zeros(kBlockSize)) << "longer text is not sent at all";
}

TEST(Radext, FlagIsWidenedTo32Bits) {
  radext_msg record{};
  record.flag_a = 2;
  EXPECT_EQ(word_at(sent_block(record), 148), 2U);
}

TEST(Radext, FlagArrivesAs1OnlyWhenThe32BitsEqual1) {
  for (const auto& [byte, place, expected] :
       {std::tuple{1, 148, 1U}, {2, 148, 0U}, {0, 148, 0U}, {1, 149, 0U}, {1, 151, 0U}}) {
    std::string block = zeros(kBlockSize);
    block[static_cast<std::size_t>(place)] = static_cast<char>(byte);
    radext_msg_info record{};
    record.flag_a = 7;
    aaa_parse_radext_msg_sub(block.data(), &record);
    EXPECT_EQ(record.flag_a, expected) << byte << " at " << place;
  }
}

TEST(Radext, NullArgumentsAreIgnored) {
  const radext_msg record{};
  radext_msg_info info{};
  std::string block(kBlockSize, '\xEE');
  aaa_encap_radext_msg_sub(nullptr, &record);
  aaa_encap_radext_msg_sub(block.data(), nullptr);
  aaa_parse_radext_msg_sub(nullptr, &info);
  aaa_parse_radext_msg_sub(block.data(), nullptr);
  EXPECT_EQ(block, std::string(kBlockSize, '\xEE'));
  EXPECT_EQ(info.num_a, 0U);
}

}  // namespace
}  // namespace test
