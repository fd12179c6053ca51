// What the messages between clients and aaad consist of, as plain data. The decoder walks it; other
// programs can make tables of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "messages/decoder.h"

namespace aaa_messages {

// The first word of every header.
inline constexpr std::uint32_t marker = 0x01010101;

// What mask_secrets() makes of the head of an item, if that cannot be read.
inline constexpr std::uint32_t masked_tag = 0x2a2a;

// What is listed of a frame: rows, items, and messages of batches. A few bytes make one of them,
// and a frame may have millions; what is behind the last one listed is one unknown field.
inline constexpr std::size_t max_listed = 4096;

// An attribute of a directory holds a password or a key when its name has one of these.
inline constexpr std::string_view secret_words[] = {
    "password", "passwd", "pwd",    "passphrase", "secret",   "key",
    "hash",     "token",  "pkcs12", "credential", "trustauth"};

// Numbers are in host byte order and as wide as their field, but for network_number: 32 bits, most
// significant byte first. A text ends at its first NUL.
enum class Kind : std::uint8_t { number, signed_number, network_number, words, octets, text };

// A field of a block.
struct Row {
  std::string_view name;
  std::size_t offset;  // in the block
  std::size_t width;
  Kind kind;
};

// Bytes of fixed places. Those that no row names are reserved and zero.
struct Block {
  std::size_t size;
  std::vector<Row> rows;  // in wire order
};

struct ItemList;

struct Item {
  std::uint32_t tag;
  std::string_view name;
  Kind kind = Kind::octets;  // numbers have 32 bits
  bool secret = false;
  bool secret_by_name = false;       // secret when the item `name` before it is that of a password
  const Block* block = nullptr;      // instead of a value of a kind: a block of exactly its size
  const ItemList* items = nullptr;   // behind the block; the item's length counts these alone
  std::string_view counted_by = {};  // the field before the items that tells how many there are
};

enum class Heads : std::uint8_t {
  small,  // 16 bits of type and 16 of the value's length
  large,  // 32 bits of each; the length counts these 8 bytes
};

// What the receiver does with an item that is not in the list.
enum class OtherItems : std::uint8_t {
  skipped,
  misread,  // its value is taken for further items
};

struct ItemList {
  Heads heads;
  OtherItems other_items;
  bool complete;  // each item is there once, in this order
  std::vector<Item> items;
};

enum class Shape : std::uint8_t {
  block,
  items,       // to the end
  short_text,  // a byte with the length, then the text
  long_text,   // the same with 32 bits
  text,        // to the end, with or without a NUL
  octets,      // to the end
  unknown,     // to the end; it is not known what it is
  messages,    // to the end: whole messages, each with its header
};

// A part of a body.
struct Part {
  Shape shape;
  std::string_view name = {};
  bool secret = false;
  const Block* block = nullptr;
  const ItemList* items = nullptr;
};

enum class Sockets : std::uint8_t { request, event, both };

struct Message {
  std::uint32_t type;
  Sender sender;
  Sockets sockets;
  std::vector<Part> parts;
  std::optional<std::size_t> body_length = {};  // applies only to bodies of this length
};

// Ordered by type. Where several apply to a message, the first one does.
std::span<const Message> catalogue();

// Null when this sender sends no such message.
const Message* find(std::uint32_t type, Sender sender, std::size_t body_length);

}  // namespace aaa_messages
