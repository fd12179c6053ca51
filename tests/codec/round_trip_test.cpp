// Records filled at random survive encoding and decoding.
#include <map>
#include <string>
#include <vector>

#include "codec/info_record_fixture.h"
#include "codec/random_records.h"

namespace test {
namespace {

template <typename Record>
class RoundTrip : public InfoRecord<Record> {
 protected:
  using Sent = Codec<Record>;

  // Fills the record and remembers the value of every item.
  void fill() {
    values_.clear();
    fill_block();
    for (const auto& descriptor : Sent::descriptors) {
      sent_.*descriptor.member = item(keep(descriptor.tag, random_.value()));
    }
    for (const auto& data : Sent::datas) {
      const std::string& value = keep(data.tag, random_.value());
      sent_.*data.data = value.data();
      sent_.*data.length = static_cast<std::uint32_t>(value.size());
    }
    if constexpr (has_ext_text<Record>) {
      Sent::ext_text(sent_) = keep(301, random_.text()).c_str();
    }
    if constexpr (has_ext_data<Record>) {
      const std::string& value = keep(298, random_.value());
      Sent::ext_data(sent_) = value.data();
      Sent::ext_data_len(sent_) = static_cast<std::uint32_t>(value.size());
    }
  }

  // Any bytes are a block; what decoding makes of them can be encoded.
  void fill_block() {
    sent_ = this->empty_record();
    const std::string block = random_.bytes(Sent::block_size);
    Sent::decode_block(&sent_, block.data());
  }

  const std::string& keep(std::uint16_t tag, std::string value) {
    return values_[tag] = std::move(value);
  }

  void expect_same_items(Record& record) const {
    for (const auto& descriptor : Sent::descriptors) {
      const aaa_item& item = record.*descriptor.member;
      ASSERT_EQ(std::string(static_cast<const char*>(item.value), item.len),
                values_.at(descriptor.tag));
    }
    for (const auto& data : Sent::datas) {
      ASSERT_EQ(std::string(static_cast<const char*>(record.*data.data), record.*data.length),
                values_.at(data.tag));
    }
  }

  Random random_;
  Record sent_;
  std::map<std::uint16_t, std::string> values_;
};
TYPED_TEST_SUITE(RoundTrip, InfoRecords);

TYPED_TEST(RoundTrip, KeepsEveryFieldAndItem) {
  using C = Codec<TypeParam>;
  SCOPED_TRACE("AAA_TEST_SEED=" + std::to_string(Random::seed()));
  for (int i = 0; i < 2000 && !this->HasFailure(); i++) {
    SCOPED_TRACE("record " + std::to_string(i));
    this->fill();
    const Bytes body = encoded(C::encode, this->sent_);
    const Decoded<TypeParam> record(body);
    ASSERT_EQ(record.result(), 1U);
    this->expect_same_items(*record);
    ASSERT_EQ(encoded(C::encode, *record), body);
  }
}

}  // namespace
}  // namespace test
