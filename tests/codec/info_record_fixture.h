// The fixture of the tests that hold for several info records.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "codec/records.h"
#include "support/failing_allocator.h"

namespace test {

template <typename Record>
class InfoRecord : public testing::Test {
 protected:
  InfoRecord() : record_(empty_record()) {}
  ~InfoRecord() override { EXPECT_EQ(counts_.live(), blocks_left_) << "blocks are left"; }

  static Record empty_record() {
    Record record;
    std::memset(&record, 0, sizeof record);
    return record;
  }

  Bytes encode() { return encoded(Codec<Record>::encode, record_); }

  static std::string text_of(const Record& record, std::uint16_t tag) {
    for (const auto& descriptor : Codec<Record>::descriptors) {
      if (descriptor.tag == tag) return text(record.*descriptor.member);
    }
    return "(no such descriptor)";
  }

  // What becomes of the password in a body that is decoded.
  static std::string password_in(const BodyBuilder& builder) {
    const Decoded<Record> record(builder.body());
    EXPECT_EQ(record.result(), 1U);
    return record.get() == nullptr ? "(no record)" : text(record->user_password);
  }

  Record record_;
  TrackedHeap heap_;
  BlockCounts counts_;
  // Copies of repeated items are not freed but for the last.
  std::uint32_t blocks_left_ = 0;
};

using InfoRecords = testing::Types<authen_info, author_info, acct_info, result_info>;

}  // namespace test
