// Fixed blocks: a record's flat wire layout as a type list of rows.
//
//   using Block = Layout<author_info, 156,
//       Row<0, &author_info::num_a, u32>,
//       Row<4, &author_info::code_a, low_byte>>;
//
// A row names the literal offset in the block, the member that it carries and its kind. Rows are
// in wire order; the compiler proves that they do not overlap, fit the block and match their
// members' types. Bytes that no row names are reserved and zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace aaa {

// Calls the C library's memcpy, which uses the processor's widest moves. For a known size the
// compiler would emit 16-byte moves or slow string instructions instead.
inline void copy_bulk(void* to, const void* from, std::size_t size) {
  asm("" : "+r"(size));  // hides the constant from the compiler
  std::memcpy(to, from, size);
}

template <std::size_t Size>
void copy_bytes(void* to, const void* from) {
  if constexpr (Size >= 100) {
    copy_bulk(to, from, Size);
  } else {
    std::memcpy(to, from, Size);
  }
}

// ---- Kinds: how a member's value is stored in the block. ------------------------------------

template <typename T>
struct copied {
  using Value = T;
  static constexpr std::size_t width = sizeof(T);
  static void store(std::uint8_t* to, const T& value) { copy_bytes<width>(to, &value); }
  static void load(const std::uint8_t* from, T& value) { copy_bytes<width>(&value, from); }
};

using u8 = copied<std::uint8_t>;
using u16 = copied<std::uint16_t>;
using u32 = copied<std::uint32_t>;
using u64 = copied<std::uint64_t>;
template <std::size_t N>
using words = copied<std::uint32_t[N]>;
template <std::size_t N>
using octets = copied<std::uint8_t[N]>;
template <std::size_t N>
using chars = copied<char[N]>;

// Text whose last byte is always sent as NUL, so that the receiver gets a terminated text.
template <std::size_t N>
struct text : chars<N> {
  static void store(std::uint8_t* to, const char (&value)[N]) {
    std::memcpy(to, value, N - 1);
    to[N - 1] = 0;
  }
};

// 32 bits in memory, the low 8 on the wire.
struct low_byte {
  using Value = std::uint32_t;
  static constexpr std::size_t width = 1;
  static void store(std::uint8_t* to, Value value) { *to = static_cast<std::uint8_t>(value); }
  static void load(const std::uint8_t* from, Value& value) { value = *from; }
};

// Arrives as 1 when the byte equals 1, else as 0.
struct flag : u8 {
  static void load(const std::uint8_t* from, Value& value) { value = *from == 1; }
};

// A flag of 16 bits on the wire; arrives as 1 when any of them is set.
struct wide_flag {
  using Value = std::uint8_t;
  static constexpr std::size_t width = 2;
  static void store(std::uint8_t* to, Value value) { u16::store(to, value); }
  static void load(const std::uint8_t* from, Value& value) { value = (from[0] | from[1]) != 0; }
};

// Octets that are decoded but never sent.
template <std::size_t N>
struct received_only : octets<N> {
  static void store(std::uint8_t* to, const std::uint8_t (&)[N]) { std::memset(to, 0, N); }
};

// ---- Rows and layouts. ----------------------------------------------------------------------

template <typename Pointer>
struct MemberPointer;

template <typename Owner, typename Type>
struct MemberPointer<Type Owner::*> {
  using Record = Owner;
  using Value = Type;
};

template <std::size_t Offset, auto Member, typename Kind>
struct Row {
  using Record = typename MemberPointer<decltype(Member)>::Record;
  static_assert(
      std::is_same_v<typename MemberPointer<decltype(Member)>::Value, typename Kind::Value>,
      "the kind does not match the member's type");

  static constexpr std::size_t offset = Offset;
  static constexpr std::size_t end = Offset + Kind::width;

  static void store(std::uint8_t* block, const Record& record) {
    Kind::store(block + Offset, record.*Member);
  }
  static void load(const std::uint8_t* block, Record& record) {
    Kind::load(block + Offset, record.*Member);
  }
};

// REQUIRES, for all functions: the block has Size bytes.
template <typename Fields, std::size_t Size, typename... Rows>
struct Layout {
  using Record = Fields;
  static constexpr std::size_t size = Size;

  // Fills a block and clears what lies between the rows, so that every byte is written once.
  static void encode(std::uint8_t* __restrict block, const Record& record) {
    std::size_t end = 0;
    ((std::memset(block + end, 0, Rows::offset - end), Rows::store(block, record), end = Rows::end),
     ...);
    std::memset(block + end, 0, Size - end);
  }

  // Writes only the rows. Inlined: it has one caller, which the compiler cannot know.
  [[gnu::always_inline]] static void fill(std::uint8_t* block, const Record& record) {
    (Rows::store(block, record), ...);
  }

  // Sets the members that the rows name and leaves the others as they are.
  static void decode(const std::uint8_t* block, Record& record) {
    (Rows::load(block, record), ...);
  }

 private:
  static constexpr bool rows_are_in_order() {
    std::size_t end = 0;
    bool in_order = true;
    ((in_order = in_order && Rows::offset >= end, end = Rows::end), ...);
    return in_order && end <= Size;
  }

  static_assert((std::is_same_v<typename Rows::Record, Record> && ...),
                "a row belongs to another record");
  static_assert(rows_are_in_order(), "rows overlap, are out of order or leave the block");
};

}  // namespace aaa
