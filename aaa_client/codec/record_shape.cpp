#include "codec/record_shape.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "codec/record_items.h"
#include "transport/base/memory.h"

namespace aaa {
namespace {

constexpr std::uint16_t block_tag = 1;

// A pointer to a descriptor's member, read as its offset.
using ItemPlace [[gnu::may_alias]] = std::ptrdiff_t;

// The rows of a record.
struct Rows {
  explicit Rows(const RecordShape& shape)
      : block(static_cast<const ItemRow*>(shape.items)),
        values(block + 1),
        others(values + shape.value_count),
        end(block + shape.item_count) {}

  const ItemRow* block;
  const ItemRow* values;
  const ItemRow* others;
  const ItemRow* end;
};

void* at(void* owner, std::ptrdiff_t place) {
  return static_cast<char*>(owner) + place;
}
aaa_item& item_at(void* record, std::ptrdiff_t place) {
  return *static_cast<aaa_item*>(at(record, place));
}
std::uint32_t& length_at(void* owner, std::ptrdiff_t place) {
  return *static_cast<std::uint32_t*>(at(owner, place));
}
// Text and data are pointers of different types.
const void* pointer_at(void* record, std::ptrdiff_t place) {
  const void* pointer = nullptr;
  std::memcpy(&pointer, at(record, place), sizeof pointer);
  return pointer;
}

std::uint64_t size_of_text(const void* text) {
  return text != nullptr ? std::strlen(static_cast<const char*>(text)) : 0;
}

// How many bytes the encoder counts for an item behind the values.
std::uint64_t size_of_other(const ItemRow& row, const RecordParts& parts) {
  switch (row.kind) {
    case ItemKind::borrowed:
      return item_at(parts.record, row.place).len;
    case ItemKind::text:
      return size_of_text(pointer_at(parts.record, row.place));
    case ItemKind::block_sized:
      if (pointer_at(parts.record, row.place) == nullptr) return 0;
      return length_at(parts.fixed_part, row.length);
    default:
      return length_at(parts.record, row.length);
  }
}

// Writes an item behind the values. The header's length is the low 16 bits of the size. Returns the
// place behind the item.
std::uint8_t* write_other(std::uint8_t* at, const RecordParts& parts, const ItemRow& row,
                          std::uint64_t size) {
  ItemWriter writer(at);
  if (row.kind == ItemKind::borrowed) {
    writer.put(item_at(parts.record, row.place), row.tag);
  } else {
    writer.put(row.tag, static_cast<std::uint16_t>(size), pointer_at(parts.record, row.place));
  }
  return writer.at();
}

// A block that the end of the body truncates.
void take_cut_block(const RecordShape& shape, void* fixed_part, ItemValue value) {
  std::uint8_t padded[RecordShape::max_block];
  value.copy(padded);
  shape.decode_block(padded, fixed_part);
  wipe(padded, value.length);
}

void take_block(const RecordShape& shape, void* fixed_part, std::ptrdiff_t size, ItemValue value) {
  if (value.length != size) return;
  if (value.present == value.length) {
    shape.decode_block(value.bytes, fixed_part);
  } else {
    take_cut_block(shape, fixed_part, value);
  }
}

bool is_copied(ItemKind kind) {
  return kind >= ItemKind::text;
}
// Later items may change how long its copy has to be.
bool looks_ahead(ItemKind kind) {
  return kind == ItemKind::data || kind == ItemKind::block_sized;
}

bool set_copy(void* record, const ItemRow& row, ItemValue value, std::uint64_t size) {
  const void* const copy = copy_of(value, size);
  if (copy == nullptr) return false;
  std::memcpy(at(record, row.place), &copy, sizeof copy);
  return true;
}

void copy_growing(void* record, const ItemRow& row, ItemValue value) {
  std::uint32_t& total = length_at(record, row.length);
  const std::uint64_t length = std::uint64_t{total} + value.length;
  if (set_copy(record, row, value, length + 1)) total = static_cast<std::uint32_t>(length);
}

// Copies an item that is not empty into a block of its own.
void copy_item(const RecordParts& parts, const ItemRow& row, ItemValue value) {
  std::uint64_t size = value.length;
  if (row.kind == ItemKind::growing) return copy_growing(parts.record, row, value);
  if (row.kind == ItemKind::block_sized) {
    const auto carried = static_cast<std::uint16_t>(length_at(parts.fixed_part, row.length));
    size = std::max(value.length, carried);
  } else if (row.kind == ItemKind::data) {
    size = std::max<std::uint64_t>(size, length_at(parts.record, row.length)) + 1;
  } else {
    ++size;
  }
  set_copy(parts.record, row, value, size);
}

// What a decoder sets in the record for an item.
void take_item(const RecordShape& shape, const RecordParts& parts, const ItemRow& row,
               ItemValue value) {
  if (row.kind == ItemKind::value) {
    item_at(parts.record, row.place) = {row.tag, value.length, value.bytes};
  } else if (row.kind == ItemKind::block) {
    take_block(shape, parts.fixed_part, row.length, value);
  } else if (row.kind == ItemKind::borrowed) {
    item_at(parts.record, row.place) = {row.tag, value.present,
                                        value.present == 0 ? nullptr : value.bytes};
  } else if (row.kind == ItemKind::data) {
    length_at(parts.record, row.length) = value.length;
  }
}

// The row of a tag, or null. A well-formed body has its items in the order of the rows, so the
// search begins at the row after the last one.
const ItemRow* find_row(const Rows& rows, std::int32_t tag, const ItemRow* next) {
  for (const ItemRow* row = next; row != rows.end; ++row)
    if (row->tag == tag) return row;
  for (const ItemRow* row = rows.block; row != next; ++row)
    if (row->tag == tag) return row;
  return nullptr;
}

// What a decoder sets in the record for an empty item.
void take_empty_item(void* record, const ItemRow& row, const std::uint8_t* value) {
  if (row.kind == ItemKind::value) {
    item_at(record, row.place) = {row.tag, 0, value};
  } else if (row.kind == ItemKind::borrowed) {
    item_at(record, row.place) = {row.tag, 0, nullptr};
  } else if (row.kind == ItemKind::data) {
    length_at(record, row.length) = 0;
  }
}

// Takes values and empty items that follow each other in the order of their rows, of which `next`
// is the first, and moves the reader behind them. Most items are so. Stops at a header that the end
// of the body truncates. Returns the row after the last one.
const ItemRow* take_in_order(ItemReader& reader, const ItemRow* next, const ItemRow* end,
                             void* record) {
  const std::uint8_t* at = reader.item();
  for (auto room = reader.room_at(at); next != end && room >= tlv_header_size; ++next) {
    aaa_item item = {};
    std::memcpy(&item, at, tlv_header_size);
    if (item.type != next->tag || (item.len != 0 && next->kind != ItemKind::value)) break;
    at += tlv_header_size;
    room -= tlv_header_size;
    if (item.len == 0) {
      take_empty_item(record, *next, at);
      continue;
    }
    item.value = at;
    item_at(record, next->place) = item;
    const std::size_t present = std::min<std::size_t>(item.len, room);
    at += present;
    room -= present;
  }
  reader.move_to(at);
  return next;
}

void skip_unknown(ItemReader& reader, UnknownItem treatment) {
  if (treatment == UnknownItem::skip_item) {
    reader.skip_item();
  } else {
    reader.skip_header();
  }
}

// Takes all items, and copies those before the first one whose copy depends on later items. Returns
// that item, or null.
const std::uint8_t* take_and_copy(const RecordShape& shape, const RecordParts& parts,
                                  const Body& body) {
  const Rows rows(shape);
  const std::uint8_t* uncopied = nullptr;
  ItemReader reader(body, body.at(0), body.end());
  const ItemRow* next = rows.block;
  while (reader.type() != ItemReader::no_item) {
    next = take_in_order(reader, next, rows.end, parts.record);
    if (reader.type() == ItemReader::no_item) break;
    const ItemRow* const row = find_row(rows, reader.type(), next);
    if (row == nullptr) {
      skip_unknown(reader, shape.unknown_item);
      continue;
    }
    take_item(shape, parts, *row, reader.item_value());
    if (is_copied(row->kind) && reader.length() != 0 && uncopied == nullptr) {
      if (looks_ahead(row->kind)) {
        uncopied = reader.item();
      } else {
        copy_item(parts, *row, reader.item_value());
      }
    }
    next = row + 1;
    reader.skip_item();
  }
  return uncopied;
}

// Copies the items from `first` on.
void copy_rest(const RecordShape& shape, const RecordParts& parts, const Body& body,
               const std::uint8_t* first) {
  const Rows rows(shape);
  ItemReader reader(body, first, body.end());
  for (const ItemRow* next = rows.others; reader.type() != ItemReader::no_item;) {
    if (reader.length() == 0) {
      reader.skip_header();
      continue;
    }
    const ItemRow* const row = find_row(rows, reader.type(), next);
    if (row == nullptr) {
      skip_unknown(reader, shape.unknown_item);
      continue;
    }
    if (is_copied(row->kind)) copy_item(parts, *row, reader.item_value());
    next = row + 1;
    reader.skip_item();
  }
}

}  // namespace

std::uint32_t encode_record(const RecordShape& shape, RecordParts parts, void** body) {
  const Rows rows(shape);
  // Each size is computed once: strlen() is costly.
  std::uint64_t sizes[RecordShape::max_others];
  std::uint64_t body_size = shape.item_count * tlv_header_size;
  body_size += static_cast<std::uint64_t>(rows.block->length);
  for (const ItemRow* row = rows.values; row != rows.others; ++row)
    body_size += item_at(parts.record, row->place).len;
  for (const ItemRow* row = rows.others; row != rows.end; ++row)
    body_size += sizes[row - rows.others] = size_of_other(*row, parts);
  std::uint8_t* const bytes = allocate(body_size);
  if (bytes == nullptr) return 0;
  ItemWriter writer(bytes);
  shape.encode_block(writer.open(block_tag, static_cast<std::uint16_t>(rows.block->length)),
                     parts.fixed_part);
  for (const ItemRow* row = rows.values; row != rows.others; ++row)
    writer.put(item_at(parts.record, row->place), row->tag);
  std::uint8_t* at = writer.at();
  for (const ItemRow* row = rows.others; row != rows.end; ++row)
    at = write_other(at, parts, *row, sizes[row - rows.others]);
  ItemWriter(at).clear_rest(bytes + body_size);
  *body = bytes;
  return static_cast<std::uint32_t>(body_size);
}

void take_items(const RecordShape& shape, RecordParts parts, const Body& body) {
  const std::uint8_t* const uncopied = take_and_copy(shape, parts, body);
  if (uncopied != nullptr) copy_rest(shape, parts, body, uncopied);
}

bool gather_values(const RecordShape& shape, void* record, const Body& body, aaa_arena& arena) {
  const auto* const places = static_cast<const ItemPlace*>(shape.arena_order);
  return fill_arena(arena, body, [&](auto visit) {
    for (std::size_t i = 0; i < shape.value_count; ++i)
      visit(item_at(record, places[i]));
  });
}

}  // namespace aaa
