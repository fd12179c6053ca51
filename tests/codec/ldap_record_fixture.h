// The fixture of the tests of the LDAP records.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/bodies.h"
#include "support/failing_allocator.h"

namespace test {

template <typename Record, std::uint32_t (*encoder)(Record*, void**),
          std::uint32_t (*decoder)(Record**, const void*, std::int32_t), void (*releaser)(Record*)>
class LdapRecord : public testing::Test {
 protected:
  ~LdapRecord() override {
    release();
    EXPECT_EQ(counts_.live(), blocks_left_);
  }

  static Bytes encode(Record& record) { return encoded(encoder, record); }

  // The record is in record_.
  std::uint32_t decode(const Bytes& body) {
    return decoder(&record_, body.data(), static_cast<std::int32_t>(body.size()));
  }
  std::uint32_t decode(const BodyBuilder& builder) { return decode(builder.body()); }

  void release() {
    releaser(record_);
    record_ = nullptr;
  }

  void expect_round_trip(Record& record) {
    const Bytes body = encode(record);
    ASSERT_EQ(decode(body), 1U);
    ASSERT_EQ(encode(*record_), body);
    release();
  }

  // And of bodies those that are shorter than the head of `size` bytes.
  void expect_refuses_null_and_no_memory(std::int32_t size) {
    const Bytes head(static_cast<std::size_t>(size - 1));
    EXPECT_EQ(decode(head), 0U);
    EXPECT_EQ(decoder(nullptr, head.data(), size), 0U);
    EXPECT_EQ(decoder(&record_, nullptr, size), 0U);
    EXPECT_EQ(record_, nullptr);
    EXPECT_EQ(counts_.allocated(), 0U);
    Record record{};
    void* body = nullptr;
    EXPECT_EQ(encoder(nullptr, &body), 0U);
    EXPECT_EQ(encoder(&record, nullptr), 0U);
    const FailMalloc failure(1);
    EXPECT_EQ(encoder(&record, &body), 0U);
    EXPECT_EQ(body, nullptr);
  }
  std::string pool() const { return text(record_->pool.base, record_->pool.size); }

  TrackedHeap heap_;
  BlockCounts counts_;
  std::uint32_t blocks_left_ = 0;
  Record* record_ = nullptr;
};

}  // namespace test
