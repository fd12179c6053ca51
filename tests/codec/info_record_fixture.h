// The fixture of the tests that hold for several info records.
#pragma once

#include <memory>

#include "codec/codec_test.h"
#include "codec/records.h"

namespace test {

// A record that a decoder returned. Releases it.
template <typename Record>
class Decoded {
 public:
  explicit Decoded(const std::string& body)
      : Decoded(body, static_cast<std::int32_t>(body.size())) {}
  Decoded(const std::string& body, std::int32_t length) {
    Record* record = nullptr;
    result_ = Codec<Record>::decode(&record, body.data(), length);
    record_.reset(record);
  }

  std::uint32_t result() const { return result_; }
  Record* get() const { return record_.get(); }
  Record* operator->() const { return record_.get(); }
  Record& operator*() const { return *record_; }

 private:
  struct Release {
    void operator()(Record* record) const { Codec<Record>::release(record); }
  };
  std::unique_ptr<Record, Release> record_;
  std::uint32_t result_ = 0;
};

// A body with nothing in the fixed block, to which a test adds items.
template <typename Record>
std::string body_of() {
  return tlv(1, zeros(Codec<Record>::block_size));
}

template <typename Record>
class InfoRecord : public CodecTest {
 protected:
  InfoRecord() : record_(empty_record()) {}

  static Record empty_record() {
    Record record;
    std::memset(&record, 0, sizeof record);
    return record;
  }

  std::string encode() { return encoded_body(Codec<Record>::encode, record_); }

  // The fixed block that the encoder makes of a record in a buffer of other bytes.
  static std::string block_of(const Record& record) {
    std::string block(Codec<Record>::block_size, '\xEE');
    Codec<Record>::encode_block(block.data(), &record);
    return block;
  }

  static std::string text_of(const Record& record, std::uint16_t tag) {
    for (const auto& descriptor : Codec<Record>::descriptors) {
      if (descriptor.tag == tag) return text(record.*descriptor.member);
    }
    return "(no such descriptor)";
  }

  // What becomes of the password in a body that is decoded.
  static std::string password_in(const std::string& body) {
    const Decoded<Record> record(body);
    EXPECT_EQ(record.result(), 1U);
    return record.get() == nullptr ? "(no record)" : text(record->user_password);
  }

  Record record_;
};

using InfoRecords = testing::Types<authen_info, author_info, acct_info, result_info>;

}  // namespace test
