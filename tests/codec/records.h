// The four info records, as the tests that hold for all of them see them.
#pragma once

#include <cstdint>
#include <ostream>
#include <string_view>
#include <vector>

#include "aaa_codec.h"

namespace test {

template <typename Record>
struct Descriptor {
  std::uint16_t tag;
  aaa_item Record::*member;
};

// Opaque data whose decoded copy has a NUL behind it.
template <typename Record>
struct Data {
  std::uint16_t tag;
  const void* Record::*data;
  std::uint32_t Record::*length;

  // In the name of a test; its bytes would include padding.
  friend std::ostream& operator<<(std::ostream& out, const Data& shown) { return out << shown.tag; }
};

// Descriptors are listed in the wire's order, `arena_order` by their tags.
template <typename Record>
struct Codec;

template <>
struct Codec<authen_info> {
  using Record = authen_info;
  static constexpr std::uint32_t block_size = 1184;
  static constexpr std::uint32_t empty_size = 1256;
  static constexpr auto encode = aaa_encap_authen_info;
  static constexpr auto encode_block = aaa_encap_authen_info_sub;
  static constexpr auto decode = aaa_parse_authen_info;
  static constexpr auto decode_block = aaa_parse_authen_info_sub;
  static constexpr auto release = aaa_free_authen_info;
  // clang-format off
  static inline const std::vector<Descriptor<Record>> descriptors = {
      {2, &Record::user_password}, {3, &Record::chap_password}, {60, &Record::chap_challenge},
      {4, &Record::nas_ip_address}, {79, &Record::eap_message}, {24, &Record::state},
      {81, &Record::tunnel_private_group_id}, {89, &Record::chargeable_user_identity},
      {305, &Record::item_305}, {309, &Record::item_309}, {168, &Record::framed_ipv6_address},
      {306, &Record::item_306}, {307, &Record::item_307}, {308, &Record::item_308}};
  // clang-format on
  static inline const std::vector<std::uint16_t> arena_order = {2,  3,   60,  4,   79,  24,  81,
                                                                89, 305, 309, 168, 306, 307, 308};
  static inline const std::vector<std::uint16_t> data_order = {298, 301, 299};
  static inline const std::vector<Data<Record>> datas = {
      {299, &Record::tail_data, &Record::tail_len}};
  static const char*& ext_text(Record& record) { return record.ext_text; }
  static const void*& ext_data(Record& record) { return record.ext_data; }
  static std::uint32_t& ext_data_len(Record& record) { return record.ext_data_len; }
};

template <>
struct Codec<author_info> {
  using Record = author_info;
  static constexpr std::uint32_t block_size = 156;
  static constexpr std::uint32_t empty_size = 172;
  static constexpr auto encode = aaa_encap_author_info;
  static constexpr auto encode_block = aaa_encap_author_info_sub;
  static constexpr auto decode = aaa_parse_author_info;
  static constexpr auto decode_block = aaa_parse_author_info_sub;
  static constexpr auto release = aaa_free_author_info;
  static inline const std::vector<Descriptor<Record>> descriptors = {{2, &Record::user_password}};
  static inline const std::vector<std::uint16_t> arena_order = {2};
  static inline const std::vector<std::uint16_t> data_order = {301, 299};
  static inline const std::vector<Data<Record>> datas = {
      {299, &Record::tail_data, &Record::tail_len}};
  static const char*& ext_text(Record& record) { return record.ext_text; }
};

template <>
struct Codec<acct_info> {
  using Record = acct_info;
  static constexpr std::uint32_t block_size = 772;
  static constexpr std::uint32_t empty_size = 820;
  static constexpr auto encode = aaa_encap_acct_info;
  static constexpr auto encode_block = aaa_encap_acct_info_sub;
  static constexpr auto decode = aaa_parse_acct_info;
  static constexpr auto decode_block = aaa_parse_acct_info_sub;
  static constexpr auto release = aaa_free_acct_info;
  // clang-format off
  static inline const std::vector<Descriptor<Record>> descriptors = {
      {2, &Record::user_password}, {25, &Record::class_}, {89, &Record::chargeable_user_identity},
      {305, &Record::item_305}, {168, &Record::framed_ipv6_address}, {306, &Record::item_306},
      {307, &Record::item_307}, {308, &Record::item_308}};
  // clang-format on
  static inline const std::vector<std::uint16_t> arena_order = {2, 89, 25, 305, 168, 306, 307, 308};
  static inline const std::vector<std::uint16_t> data_order = {301, 299, 322};
  static inline const std::vector<Data<Record>> datas = {
      {299, &Record::tail_data, &Record::tail_len},
      {322, &Record::data_322, &Record::data_322_len}};
  static const char*& ext_text(Record& record) { return record.ext_text; }
};

template <>
struct Codec<result_info> {
  using Record = result_info;
  static constexpr std::uint32_t block_size = 1280;
  static constexpr std::uint32_t empty_size = 1360;
  static constexpr auto encode = aaa_encap_result_info;
  static constexpr auto encode_block = aaa_encap_result_info_sub;
  static constexpr auto decode = aaa_parse_result_info;
  static constexpr auto decode_block = aaa_parse_result_info_sub;
  static constexpr auto release = aaa_free_result_info;
  // clang-format off
  static inline const std::vector<Descriptor<Record>> descriptors = {
      {87, &Record::nas_port_id}, {18, &Record::reply_message}, {25, &Record::class_},
      {79, &Record::eap_message}, {2, &Record::user_password}, {24, &Record::state},
      {89, &Record::chargeable_user_identity}, {304, &Record::item_304}, {309, &Record::item_309},
      {311, &Record::item_311}, {318, &Record::item_318}, {319, &Record::item_319},
      {320, &Record::item_320}};
  // clang-format on
  static inline const std::vector<std::uint16_t> arena_order = {2,  79, 87,  25,  18,
                                                                24, 89, 304, 309, 311};
  static inline const std::vector<std::uint16_t> data_order = {298, 302, 303, 299, 321, 322};
  static inline const std::vector<Data<Record>> datas = {
      {302, &Record::text_302, &Record::text_302_len},
      {303, &Record::text_303, &Record::text_303_len},
      {299, &Record::tail_data, &Record::tail_len},
      {321, &Record::data_321, &Record::data_321_len},
      {322, &Record::data_322, &Record::data_322_len}};
  static const void*& ext_data(Record& record) { return record.ext_data; }
  static std::uint32_t& ext_data_len(Record& record) { return record.sub.ext_data_len; }
};

template <typename Record>
constexpr bool has_ext_text = requires(Record& record) {
  Codec<Record>::ext_text(record);
};
template <typename Record>
constexpr bool has_ext_data = requires(Record& record) {
  Codec<Record>::ext_data(record);
};

// A descriptor of a value that the caller keeps.
inline aaa_item item(std::string_view value) {
  return {0, static_cast<std::uint16_t>(value.size()), value.data()};
}

}  // namespace test
