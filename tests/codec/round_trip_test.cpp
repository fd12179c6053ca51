// Records filled at random survive encoding and decoding.
#include <map>
#include <string>

#include "codec/info_record_fixture.h"
#include "codec/random_records.h"

namespace test {
namespace {

template <typename Record>
class RoundTrip : public InfoRecord<Record> {
 protected:
  using C = Codec<Record>;

  // Fills the record and remembers the value of every item. Any bytes are a fixed block.
  void fill() {
    Record& record = this->record_ = this->empty_record();
    values_.clear();
    const std::string block = random_.bytes(C::block_size);
    C::decode_block(&record, block.data());
    for (const auto& [tag, member] : C::descriptors)
      record.*member = item(values_[tag] = random_.value());
    for (const auto& [tag, data, length] : C::datas) {
      record.*data = (values_[tag] = random_.value()).data();
      record.*length = static_cast<std::uint32_t>(values_[tag].size());
    }
    if constexpr (has_ext_text<Record>) {
      C::ext_text(record) = (values_[301] = random_.text()).c_str();
    }
    if constexpr (has_ext_data<Record>) {
      C::ext_data(record) = (values_[298] = random_.value()).data();
      C::ext_data_len(record) = static_cast<std::uint32_t>(values_[298].size());
    }
  }

  void expect_same_items(Record& record) {
    for (const auto& [tag, member] : C::descriptors)
      ASSERT_EQ(bytes_of((record.*member).value, (record.*member).len), values_[tag]);
    for (const auto& [tag, data, length] : C::datas)
      ASSERT_EQ(bytes_of(record.*data, record.*length), values_[tag]);
  }

  Random random_;

 private:
  std::map<std::uint16_t, std::string> values_;
};
TYPED_TEST_SUITE(RoundTrip, InfoRecords);

TYPED_TEST(RoundTrip, KeepsEveryFieldAndItem) {
  SCOPED_TRACE("AAA_TEST_SEED=" + std::to_string(Random::seed()));
  for (int i = 0; i < 2000 && !this->HasFailure(); i++) {
    SCOPED_TRACE("record " + std::to_string(i));
    this->fill();
    const std::string body = this->encode();
    const Decoded<TypeParam> record(body);
    ASSERT_EQ(record.result(), 1U);
    this->expect_same_items(*record);
    ASSERT_EQ(encoded_body(TestFixture::C::encode, *record), body);
  }
}

}  // namespace
}  // namespace test
