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
  ~InfoRecord() override { EXPECT_EQ(counts_.live(), 0U) << "blocks are left"; }

  static Record empty_record() {
    Record record;
    std::memset(&record, 0, sizeof record);
    return record;
  }

  static std::string text_of(const Record& record, std::uint16_t tag) {
    for (const auto& descriptor : Codec<Record>::descriptors) {
      if (descriptor.tag == tag) return text(record.*descriptor.member);
    }
    return "(no such descriptor)";
  }

  TrackedHeap heap_;
  BlockCounts counts_;
};

using InfoRecords = testing::Types<authen_info, author_info, acct_info, result_info>;

}  // namespace test
