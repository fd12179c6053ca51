// Items of bodies.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "messages/body_cursor.h"

namespace aaa_messages {
namespace {

struct Head {
  std::uint32_t tag;
  std::size_t size;
  std::uint64_t length;
};

// Nothing when the head is not there as a whole or contradicts itself.
std::optional<Head> head_at(const BodyCursor& cursor, Heads heads) {
  const std::size_t word = heads == Heads::small ? 2 : 4;
  if (cursor.left() < 2 * word) return std::nullopt;
  Head head{static_cast<std::uint32_t>(little_number(cursor.next(word))), 2 * word,
            little_number(cursor.next(2 * word).subspan(word))};
  if (heads == Heads::small) return head;
  if (head.length < head.size) return std::nullopt;
  head.length -= head.size;
  return head;
}

// Whether the attribute named before a value holds a password or a key.
bool names_a_secret(const std::vector<Field>& fields) {
  if (fields.empty() || fields.back().name != "name") return true;
  const auto* name = std::get_if<Octets>(&fields.back().value);
  if (name == nullptr) return true;
  std::string lower;
  for (const std::uint8_t byte : *name)
    lower += static_cast<char>(std::tolower(byte));
  return std::ranges::any_of(
      secret_words, [&](std::string_view word) { return lower.find(word) != std::string::npos; });
}

// Not the rows of blocks: their places do not depend on what is before them.
void hide_items(Field& field) {
  if (field.tag && field.fields.empty()) field.secret = true;
  for (Field& part : field.fields)
    hide_items(part);
}

class ItemReader {
 public:
  ItemReader(BodyCursor& cursor, const ItemList& list, std::vector<Field>& fields)
      : cursor_(cursor), list_(list), fields_(fields), first_(fields.size()) {}

  bool read() {
    while (cursor_.left() > 0 && !take_end()) {
      const Outcome outcome = read_item();
      if (outcome == Outcome::unreadable) give_up();
      if (outcome != Outcome::read) return false;
    }
    const bool present = check_presence();
    const bool counted = check_counts();
    if (!present || !counted) hide_all();
    return true;
  }

 private:
  enum class Outcome : std::uint8_t { read, cut, unreadable };

  // The place of an item that the list has not.
  struct Stranger {
    std::size_t at;
    std::size_t fields;   // before it
    std::size_t remarks;  // before it
  };

  // A large head with length 0, behind which nothing is read. One with a tag of its own or 0: of
  // another tag it may be a piece of a value.
  bool take_end() {
    if (list_.heads != Heads::large || cursor_.left() < 8) return false;
    const auto tag = static_cast<std::uint32_t>(little_number(cursor_.next(4)));
    if (little_number(cursor_.next(8).subspan(4)) != 0) return false;
    if (tag != 0 && item_of(tag) == nullptr) return false;
    cursor_.at += 8;
    return true;
  }

  const Item* item_of(std::uint32_t tag) const {
    const auto found = std::ranges::find(list_.items, tag, &Item::tag);
    return found == list_.items.end() ? nullptr : &*found;
  }

  Outcome read_item() {
    const auto head = head_at(cursor_, list_.heads);
    if (!head) return Outcome::unreadable;
    const Item* const item = item_of(head->tag);
    if (item == nullptr && !may_skip(*head)) return Outcome::unreadable;
    if (!cursor_.may_list()) return Outcome::unreadable;
    const std::size_t front =
        item != nullptr && item->items != nullptr ? item->block->size : std::size_t{0};
    const std::uint64_t length = head->length + front;
    if (length > cursor_.claimed_end - cursor_.at - head->size) return Outcome::unreadable;
    if (item == nullptr && !stranger_)
      stranger_ = {cursor_.at, fields_.size(), cursor_.remarks.size()};
    cursor_.at += head->size;
    ++cursor_.listed;
    return take(item, head->tag, length);
  }

  bool may_skip(const Head& head) const {
    const bool is_masked = (head.tag & 0xffff) == masked_tag;  // also one of 32 bits
    return list_.other_items == OtherItems::skipped && !is_masked;
  }

  Outcome take(const Item* item, std::uint32_t tag, std::uint64_t length) {
    const std::size_t present = cursor_.present(length);
    Field field{.name = item != nullptr ? std::string(item->name) : "item_" + std::to_string(tag),
                .offset = cursor_.at,
                .length = present,
                .tag = tag};
    if (present < length && field_is_value(item)) {
      cursor_.remark(field.name + ": " + std::to_string(present) + " of " + std::to_string(length) +
                     " bytes are there");
    }
    BodyCursor value{cursor_.frame,   cursor_.at,       cursor_.at + present, cursor_.at + length,
                     cursor_.remarks, cursor_.reserved, cursor_.listed};
    if (item == nullptr) {
      hold_back(field);
    } else if (item->block != nullptr) {
      take_block(*item, value, field);
    } else {
      take_value(*item, value, field);
    }
    cursor_.at += present;
    fields_.push_back(std::move(field));
    return present < length ? Outcome::cut : Outcome::read;
  }

  static bool field_is_value(const Item* item) { return item == nullptr || item->block == nullptr; }

  void hold_back(Field& field) const {
    field.value = value_of(cursor_.frame.subspan(field.offset, field.length), Kind::octets);
    field.secret = true;
  }

  void take_block(const Item& item, BodyCursor& value, Field& field) {
    const std::uint64_t length = value.claimed_end - value.at;
    if (item.items == nullptr && length != item.block->size) {
      cursor_.remark(field.name + " has " + std::to_string(length) + " bytes instead of " +
                     std::to_string(item.block->size));
      return hold_back(field);
    }
    if (!read_block(value, *item.block, item.name, field.fields)) return;
    if (item.items != nullptr) read_items(value, *item.items, field.fields);
  }

  void take_value(const Item& item, const BodyCursor& value, Field& field) {
    const std::uint64_t length = value.claimed_end - value.at;
    if (item.kind == Kind::number && length != 4) {
      cursor_.remark(field.name + " has " + std::to_string(length) + " bytes instead of 4");
      return hold_back(field);
    }
    if (value.end < value.claimed_end) return hold_back(field);
    field.value = value_of(cursor_.frame.subspan(field.offset, field.length), item.kind);
    field.secret = item.secret || (item.secret_by_name && names_a_secret(fields_));
  }

  void hide_all() {
    for (std::size_t i = first_; i < fields_.size(); ++i)
      hide_items(fields_[i]);
  }

  // From here on, or from the first item on that the list has not: it may be none.
  void give_up() {
    if (stranger_) {
      cursor_.at = stranger_->at;
      fields_.resize(stranger_->fields);
      cursor_.remarks.resize(stranger_->remarks);
    }
    hide_all();
    cursor_.remark("the items from byte " + std::to_string(cursor_.at) + " on cannot be read");
    fields_.push_back(take_unknown(cursor_, "undecoded", cursor_.left()));
  }

  std::size_t count(const Item& item) const {
    std::size_t number = 0;
    for (std::size_t i = first_; i < fields_.size(); ++i)
      number += fields_[i].tag == item.tag ? 1U : 0U;
    return number;
  }

  bool check_presence() const {
    if (!list_.complete) return true;
    const std::size_t before = cursor_.remarks.size();
    for (const Item& item : list_.items) {
      const std::size_t number = count(item);
      if (number == 0) cursor_.remark(std::string(item.name) + " is missing");
      if (number > 1) cursor_.remark(std::string(item.name) + " is repeated");
    }
    if (!in_order()) cursor_.remark("the items are not in their order");
    return cursor_.remarks.size() == before;
  }

  bool in_order() const {
    auto from = list_.items.begin();
    for (std::size_t i = first_; i < fields_.size(); ++i) {
      const auto known = std::ranges::find(list_.items, *fields_[i].tag, &Item::tag);
      if (known == list_.items.end()) continue;
      if (known < from) return false;
      from = known;
    }
    return true;
  }

  bool check_counts() const {
    const std::size_t before = cursor_.remarks.size();
    for (const Item& item : list_.items) {
      const auto counter = std::ranges::find(fields_, item.counted_by, &Field::name);
      if (counter == fields_.end()) continue;
      const auto* number = std::get_if<std::uint64_t>(&counter->value);
      if (number == nullptr || *number == count(item)) continue;
      cursor_.remark(counter->name + " is " + std::to_string(*number) + ", but there are " +
                     std::to_string(count(item)) + " of " + std::string(item.name));
    }
    return cursor_.remarks.size() == before;
  }

  BodyCursor& cursor_;
  const ItemList& list_;
  std::vector<Field>& fields_;
  std::size_t first_;  // of the list's fields
  std::optional<Stranger> stranger_;
};

}  // namespace

bool read_items(BodyCursor& cursor, const ItemList& list, std::vector<Field>& fields) {
  return ItemReader(cursor, list, fields).read();
}

}  // namespace aaa_messages
