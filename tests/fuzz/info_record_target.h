// What the fuzz targets of the four info records do with an input.
#pragma once

#include <algorithm>
#include <cstring>

#include "codec/records.h"
#include "fuzz/touch.h"
#include "support/failing_allocator.h"

namespace fuzz {

template <typename Record>
void touch_items(Record& record) {
  using C = test::Codec<Record>;
  for (const auto& descriptor : C::descriptors) {
    const aaa_item& item = record.*descriptor.member;
    const bool in_arena = std::count(C::arena_order.begin(), C::arena_order.end(), descriptor.tag);
    in_arena ? touch(item) : touch(item.value, item.len);
  }
  for (const auto& data : C::datas)
    if (record.*data.data != nullptr) touch(record.*data.data, record.*data.length + 1U);
  if constexpr (test::has_ext_text<Record>) {
    if (C::ext_text(record) != nullptr)
      touch(C::ext_text(record), std::strlen(C::ext_text(record)));
  }
  if constexpr (test::has_ext_data<Record>) {
    const std::size_t readable = C::ext_data_len(record) & 0xFFFF;
    if (C::ext_data(record) != nullptr) touch(C::ext_data(record), readable);
  }
  touch(record.arena);
}

// Decodes, reads everything, encodes what came out, and decodes that.
template <typename Record>
void run(const std::uint8_t* data, std::size_t size) {
  using C = test::Codec<Record>;
  const test::TrackedHeap heap(kLargestBlock);
  Record* record = nullptr;
  if (C::decode(&record, data, static_cast<std::int32_t>(size)) == 0) return;
  touch(record, sizeof *record);
  touch_items(*record);
  void* body = nullptr;
  const std::uint32_t length = C::encode(record, &body);
  C::release(record);
  if (length == 0) return;
  touch(body, length);
  Record* again = nullptr;
  require(C::decode(&again, body, static_cast<std::int32_t>(length)) == 1);
  touch_items(*again);
  C::release(again);
  AAA_FREE(body);
}

}  // namespace fuzz
