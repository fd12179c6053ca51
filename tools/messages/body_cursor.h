// A place in a message's body, and the fields that are read there.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "messages/catalogue.h"
#include "messages/decoder.h"

namespace aaa_messages {

struct BodyCursor {
  std::span<const std::uint8_t> frame;
  std::size_t at;
  std::size_t end;            // of the bytes that are there
  std::uint64_t claimed_end;  // by the header; later than `end` when the frame is truncated
  std::vector<std::string>& remarks;
  std::vector<Extent>& reserved;
  std::size_t& listed;  // of the whole frame, until now

  std::size_t left() const { return end - at; }
  std::span<const std::uint8_t> next(std::size_t count) const { return frame.subspan(at, count); }
  // How many of `count` bytes are there.
  std::size_t present(std::uint64_t count) const {
    return static_cast<std::size_t>(std::min<std::uint64_t>(count, left()));
  }
  bool may_list() const { return listed < max_listed; }
  void remark(std::string text) const { remarks.push_back(std::move(text)); }
};

std::uint64_t little_number(std::span<const std::uint8_t> bytes);

Value value_of(std::span<const std::uint8_t> bytes, Kind kind);

// The next `length` bytes as a field that nobody knows the meaning of, and so secret.
Field take_unknown(BodyCursor& cursor, std::string_view name, std::size_t length);

// The functions below move the cursor over what they read, and return false where the body ends
// too early or cannot be read on. A field of which only the front is there is secret.

bool read_block(BodyCursor& cursor, const Block& block, std::string_view name,
                std::vector<Field>& fields);

// Items up to the cursor's end. When they cannot be read to the end or are not those that belong
// there, lengths and tags may be wrong, and a value a piece of another: then all are secret. More
// than may be listed cannot be read.
bool read_items(BodyCursor& cursor, const ItemList& list, std::vector<Field>& fields);

}  // namespace aaa_messages
