// What the encoder and the decoder that all info records share know of a record.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aaa_codec.h"
#include "codec/tlv.h"

namespace aaa {

// How a decoder treats an item that the record does not define. skip_header parses the value as
// further items, as aaad does for that record.
enum class UnknownItem : std::uint8_t { skip_header, skip_item };

struct RecordShape {
  static constexpr std::size_t max_others = 10;
  static constexpr std::size_t max_block = AAA_RESULT_BLOCK_SIZE;

  const void* items;        // of type ItemRow: the block, the values of the arena, the others
  const void* arena_order;  // places of descriptors, in the order of their values in the arena
  void (*encode_block)(std::uint8_t* block, const void* fixed_part);
  void (*decode_block)(const std::uint8_t* block, void* fixed_part);
  std::uint16_t item_count;
  std::uint16_t value_count;
  UnknownItem unknown_item;
};

// A record and its members in the fixed block.
struct RecordParts {
  void* record;
  void* fixed_part;
};

// Allocates and writes the body. Returns its size, 0 when there is no memory.
std::uint32_t encode_record(const RecordShape& shape, RecordParts parts, void** body);

// Items are copied when found. From the first item whose copy depends on later ones, copying waits
// for a second walk.
void take_items(const RecordShape& shape, RecordParts parts, const Body& body);

// Gathers the values of a decoded record's descriptors. False when there is no memory.
bool gather_values(const RecordShape& shape, void* record, const Body& body, aaa_arena& arena);

}  // namespace aaa
