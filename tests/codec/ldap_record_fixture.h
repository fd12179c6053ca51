// The fixture of the tests of the LDAP records.
#pragma once

#include <limits>

#include "codec/codec_test.h"

namespace test {

template <typename Record, std::uint32_t (*encoder)(Record*, void**),
          std::uint32_t (*decoder)(Record**, const void*, std::int32_t), void (*releaser)(Record*)>
class LdapRecord : public CodecTest {
 protected:
  ~LdapRecord() override { release(); }

  static std::string encode(Record& record) { return encoded_body(encoder, record); }

  // The record is in record_.
  std::uint32_t decode(const std::string& body) {
    return decoder(&record_, body.data(), static_cast<std::int32_t>(body.size()));
  }

  void release() {
    releaser(record_);
    record_ = nullptr;
  }

  void expect_round_trip(Record& record) {
    const std::string body = encode(record);
    ASSERT_EQ(decode(body), 1U);
    ASSERT_EQ(encode(*record_), body);
    release();
  }

  // And of bodies those that are shorter than the head of `size` bytes.
  void expect_refuses_null_and_no_memory(std::int32_t size) {
    const std::string head = zeros(static_cast<std::size_t>(size - 1));
    EXPECT_EQ(decode(head), 0U);
    EXPECT_EQ(decoder(nullptr, head.data(), size), 0U);
    EXPECT_EQ(decoder(&record_, nullptr, size), 0U);
    EXPECT_EQ(record_, nullptr);
    EXPECT_EQ(counts_.blocks_allocated(), 0U);
    Record record{};
    void* body = nullptr;
    EXPECT_EQ(encoder(nullptr, &body), 0U);
    EXPECT_EQ(encoder(&record, nullptr), 0U);
    const FailMalloc failure(1);
    EXPECT_EQ(encoder(&record, &body), 0U);
    EXPECT_EQ(body, nullptr);
  }
  // The same of a body whose length is said to be below 0.
  void decode_negative_length(const std::string& body) {
    ASSERT_EQ(decoder(&record_, body.data(), std::numeric_limits<std::int32_t>::min()), 1U);
  }
  std::string pool() const { return text(record_->pool.base, record_->pool.size); }

  Record* record_ = nullptr;
};

}  // namespace test
