// Bodies that are one block without items: RADIUS extensions, and the state of a user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_codec.h"
#include "codec/record_layout.h"

namespace aaa {

inline constexpr std::size_t text_size = 254;  // 253 characters and a NUL

// Text referenced by a pointer: up to 253 characters are sent.
struct sent_text {
  using Value = const char*;
  static constexpr std::size_t width = text_size;
  static void store(std::uint8_t* to, Value value) {
    if (value != nullptr) std::memcpy(to, value, strnlen(value, text_size - 1));
  }
};

// The same text when decoded; the bytes after its end are zeroed.
struct received_text {
  using Value = char[text_size];
  static constexpr std::size_t width = text_size;
  static void load(const std::uint8_t* from, Value& value) {
    const std::size_t length = strnlen(reinterpret_cast<const char*>(from), text_size - 1);
    std::memcpy(value, from, length);
    std::memset(value + length, 0, text_size - length);
  }
};

// Text that is sent whole or, when it is too long, not at all.
template <std::size_t Limit>
struct whole_text {
  using Value = const char*;
  static constexpr std::size_t width = Limit;
  static void store(std::uint8_t* to, Value value) {
    if (value == nullptr) return;
    const std::size_t length = strnlen(value, Limit + 1);
    if (length <= Limit) std::memcpy(to, value, length);
  }
};

// A flag of 32 bits on the wire.
struct sent_flag {
  using Value = std::uint8_t;
  static constexpr std::size_t width = 4;
  static void store(std::uint8_t* to, Value value) { u32::store(to, value); }
};

// Decodes to 1 when the 32 bits equal 1, else to 0.
struct received_flag : u32 {
  static void load(const std::uint8_t* from, Value& value) {
    u32::load(from, value);
    value = value == 1;
  }
};

// clang-format off
using SentRadextBlock = Layout<radext_msg, AAA_RADEXT_BLOCK_SIZE,
    Row<   0, &radext_msg::octets128_a, octets<128>>,
    Row< 128, &radext_msg::short_a,     u16>,
    Row< 130, &radext_msg::byte_a,      u8>,
    Row< 132, &radext_msg::words4_a,    words<4>>,
    Row< 148, &radext_msg::flag_a,      sent_flag>,
    Row< 152, &radext_msg::num_a,       u32>,
    Row< 156, &radext_msg::num_b,       u32>,
    Row< 160, &radext_msg::octets128_b, octets<128>>,
    Row< 288, &radext_msg::text_a,      sent_text>,
    Row< 544, &radext_msg::text_b,      sent_text>,
    Row< 800, &radext_msg::num_c,       u32>,
    Row< 804, &radext_msg::num_d,       u32>,
    Row< 824, &radext_msg::num_e,       u32>,
    Row< 828, &radext_msg::text_c,      sent_text>,
    Row<1082, &radext_msg::text_d,      sent_text>,
    Row<1336, &radext_msg::text_e,      sent_text>,
    Row<1590, &radext_msg::text_f,      sent_text>,
    Row<1844, &radext_msg::text_g,      sent_text>,
    Row<2100, &radext_msg::octets416_a, octets<416>>,
    Row<2516, &radext_msg::byte_b,      u8>,
    Row<2520, &radext_msg::num_f,       u32>,
    Row<2524, &radext_msg::num_g,       u32>,
    Row<2528, &radext_msg::byte_c,      u8>,
    Row<2529, &radext_msg::short_b,     u16>,
    Row<2531, &radext_msg::text_h,      whole_text<250>>>;

using ReceivedRadextBlock = Layout<radext_msg_info, AAA_RADEXT_BLOCK_SIZE,
    Row<   0, &radext_msg_info::octets128_a, octets<128>>,
    Row< 128, &radext_msg_info::short_a,     u16>,
    Row< 130, &radext_msg_info::byte_a,      u8>,
    Row< 132, &radext_msg_info::words4_a,    words<4>>,
    Row< 148, &radext_msg_info::flag_a,      received_flag>,
    Row< 152, &radext_msg_info::num_a,       u32>,
    Row< 156, &radext_msg_info::num_b,       u32>,
    Row< 160, &radext_msg_info::octets128_b, octets<128>>,
    Row< 288, &radext_msg_info::text_a,      received_text>,
    Row< 544, &radext_msg_info::text_b,      received_text>,
    Row< 800, &radext_msg_info::num_c,       u32>,
    Row< 804, &radext_msg_info::num_d,       u32>,
    Row< 824, &radext_msg_info::num_e,       u32>,
    Row< 828, &radext_msg_info::text_c,      received_text>,
    Row<1082, &radext_msg_info::text_d,      received_text>,
    Row<1336, &radext_msg_info::text_e,      received_text>,
    Row<1590, &radext_msg_info::text_f,      received_text>,
    Row<1844, &radext_msg_info::text_g,      received_text>,
    Row<2100, &radext_msg_info::octets416_a, octets<416>>,
    Row<2516, &radext_msg_info::byte_b,      u8>,
    Row<2520, &radext_msg_info::num_f,       u32>,
    Row<2524, &radext_msg_info::num_g,       u32>>;
// clang-format on

// One user's state, to restore the user or for a hot backup.
// clang-format off
using RestoreUserBlock = Layout<restore_user_info, AAA_RESTORE_USER_BLOCK_SIZE,
    Row<   0, &restore_user_info::num_a,      u32>,
    Row<   4, &restore_user_info::octets6_a,  octets<6>>,
    Row<  10, &restore_user_info::octets6_b,  octets<6>>,
    Row<  16, &restore_user_info::chars253_a, chars<253>>,
    Row< 270, &restore_user_info::octets64_a, octets<64>>,
    Row< 335, &restore_user_info::code_a,     low_byte>,
    Row< 336, &restore_user_info::num_b,      u32>,
    Row< 340, &restore_user_info::num_c,      u32>,
    Row< 348, &restore_user_info::num_d,      u32>,
    Row< 352, &restore_user_info::octets16_a, octets<16>>,
    Row< 368, &restore_user_info::num_e,      u32>,
    Row< 372, &restore_user_info::num_f,      u32>,
    Row< 376, &restore_user_info::octets6_c,  octets<6>>,
    Row< 384, &restore_user_info::num_g,      u32>,
    Row< 388, &restore_user_info::num_h,      u32>>;
// clang-format on

}  // namespace aaa
