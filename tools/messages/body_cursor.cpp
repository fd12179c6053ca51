#include "messages/body_cursor.h"

#include <algorithm>

namespace aaa_messages {
namespace {

std::uint64_t big_number(std::span<const std::uint8_t> bytes) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes)
    number = number << 8 | byte;
  return number;
}

std::int64_t signed_number(std::span<const std::uint8_t> bytes) {
  return static_cast<std::int32_t>(little_number(bytes));
}

Words words_of(std::span<const std::uint8_t> bytes) {
  Words words;
  for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4)
    words.push_back(static_cast<std::uint32_t>(little_number(bytes.subspan(at, 4))));
  return words;
}

std::string text_of(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), std::ranges::find(bytes, 0)};
}

// Notes bytes of the block at the cursor that are neither zero nor part of a row.
void check_reserved(const BodyCursor& cursor, std::string_view name, std::size_t from,
                    std::size_t to) {
  const auto bytes = cursor.frame.subspan(cursor.at + from, to - from);
  if (std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; })) return;
  cursor.remark(std::string(name) + ": reserved bytes from " + std::to_string(from) + " to " +
                std::to_string(to - 1) + " are not zero");
  cursor.reserved.push_back({cursor.at + from, to - from});
}

Field row_field(const BodyCursor& cursor, const Row& row, std::size_t present) {
  const std::size_t offset = cursor.at + row.offset;
  Field field{.name = std::string(row.name), .offset = offset, .length = present};
  field.secret = present < row.width;
  if (!field.secret) field.value = value_of(cursor.frame.subspan(offset, present), row.kind);
  return field;
}

}  // namespace

std::uint64_t little_number(std::span<const std::uint8_t> bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = bytes.size(); i > 0; --i)
    number = number << 8 | bytes[i - 1];
  return number;
}

Value value_of(std::span<const std::uint8_t> bytes, Kind kind) {
  switch (kind) {
    case Kind::number:
      return little_number(bytes);
    case Kind::signed_number:
      return signed_number(bytes);
    case Kind::network_number:
      return big_number(bytes);
    case Kind::words:
      return words_of(bytes);
    case Kind::text:
      return text_of(bytes);
    case Kind::octets:
      break;
  }
  return Octets(bytes.begin(), bytes.end());
}

Field take_unknown(BodyCursor& cursor, std::string_view name, std::size_t length) {
  Field field{.name = std::string(name), .offset = cursor.at, .length = length, .secret = true};
  field.value = value_of(cursor.next(length), Kind::octets);
  cursor.at += length;
  return field;
}

bool read_block(BodyCursor& cursor, const Block& block, std::string_view name,
                std::vector<Field>& fields) {
  const std::size_t present = cursor.present(block.size);
  std::size_t end = 0;
  for (const Row& row : block.rows) {
    check_reserved(cursor, name, std::min(end, present), std::min(row.offset, present));
    end = row.offset + row.width;
    if (row.offset < present)
      fields.push_back(row_field(cursor, row, std::min(end, present) - row.offset));
  }
  check_reserved(cursor, name, std::min(end, present), present);
  cursor.at += present;
  cursor.listed += block.rows.size();
  if (present == block.size) return true;
  cursor.remark(std::string(name) + " ends after " + std::to_string(present) + " of " +
                std::to_string(block.size) + " bytes");
  return false;
}

}  // namespace aaa_messages
