// The text 301, which three of the info records have.
#include <algorithm>
#include <string>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class TextRecord : public InfoRecord<Record> {};
using TextRecords = testing::Types<authen_info, author_info, acct_info>;
TYPED_TEST_SUITE(TextRecord, TextRecords);

TYPED_TEST(TextRecord, TextTravelsWithoutItsNul) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  record.ext_text = "some text";
  const Bytes body = encoded(C::encode, record);
  EXPECT_EQ(body.size(), C::empty_size + 9);
  EXPECT_THAT(items_of(body), testing::Contains(Item{301, "some text"}));
  const Decoded<TypeParam> decoded(body);
  EXPECT_STREQ(decoded->ext_text, "some text");
}

TYPED_TEST(TextRecord, TextOver65535CharactersIsCountedInFull) {
  using C = Codec<TypeParam>;
  const std::string long_text(65539, 't');
  auto record = this->empty_record();
  record.ext_text = long_text.c_str();
  Bytes body = encoded(C::encode, record);
  ASSERT_EQ(body.size(), C::empty_size + 65539);
  const auto rest = body.end() - 65536;
  EXPECT_TRUE(std::all_of(rest, body.end(), [](std::uint8_t byte) { return byte == 0; }));
  body.erase(rest, body.end());
  EXPECT_THAT(items_of(body), testing::Contains(Item{301, "ttt"}));
}

TYPED_TEST(TextRecord, OfTwoTextsTheSecondIsHeld) {
  const Bytes body = body_of<TypeParam>().item(301, "one").item(301, "two").body();
  {
    const Decoded<TypeParam> record(body);
    EXPECT_STREQ(record->ext_text, "two");
  }
  EXPECT_EQ(this->counts_.live(), 1U) << "the first copy is not freed";
  this->counts_ = BlockCounts();
}

TYPED_TEST(TextRecord, OfAnUnknownItemOnlyTheHeaderIsConsumed) {
  const Bytes body = body_of<TypeParam>()
                         .header(5, 4)
                         .header(2, 3)  // the value, read as an item
                         .bytes("abc")
                         .body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(text(record->user_password), "abc");
}

TYPED_TEST(TextRecord, UnknownItemOf2BytesIsReadOnWithTheNextItemsFirst2) {
  // After the header of type 5 the walk reads {2, 3}: the two value bytes and the next two.
  const Bytes body =
      body_of<TypeParam>().header(5, 2).word16(2).header(3, 0x6261).bytes("c").body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(text(record->user_password), "abc");
}

TYPED_TEST(TextRecord, TextThatRunsPastTheBodysEndIsTerminated) {
  const Bytes body = body_of<TypeParam>().header(301, 500).bytes("abc").body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(text(record->ext_text, 501), "abc" + std::string(498, '\0'));
}

}  // namespace
}  // namespace test
