// The outcome of a user's authentication, authorization or accounting request.
#include "codec/result_info.h"

#include "codec/record_codec.h"
#include "codec/record_layout.h"

namespace aaa {
namespace {

// clang-format off
using ResultBlock = Layout<result_info_sub, AAA_RESULT_BLOCK_SIZE,
    Row<   0, &result_info_sub::num_a,        u32>,
    Row<   4, &result_info_sub::code_a,       low_byte>,
    Row<   5, &result_info_sub::code_b,       low_byte>,
    Row<   6, &result_info_sub::code_c,       low_byte>,
    Row<   7, &result_info_sub::code_d,       low_byte>,
    Row<   8, &result_info_sub::code_e,       low_byte>,
    Row<   9, &result_info_sub::code_f,       low_byte>,
    Row<  10, &result_info_sub::code_g,       low_byte>,
    Row<  11, &result_info_sub::chars65_a,    chars<65>>,
    Row<  76, &result_info_sub::octets256_a,  octets<256>>,
    Row< 332, &result_info_sub::words16_a,    words<16>>,
    Row< 396, &result_info_sub::chars65_b,    chars<65>>,
    Row< 461, &result_info_sub::chars65_c,    chars<65>>,
    Row< 526, &result_info_sub::num_e,        u32>,
    Row< 530, &result_info_sub::short_c,      u16>,
    Row< 532, &result_info_sub::code_h,       low_byte>,
    Row< 533, &result_info_sub::byte_a,       u8>,
    Row< 534, &result_info_sub::words8_a,     words<8>>,
    Row< 566, &result_info_sub::byte_b,       u8>,
    Row< 568, &result_info_sub::flag_a,       wide_flag>,
    Row< 572, &result_info_sub::session_id,   u32>,
    Row< 576, &result_info_sub::num_b,        u32>,
    Row< 580, &result_info_sub::words5_a,     words<5>>,
    Row< 600, &result_info_sub::num_c,        u32>,
    Row< 604, &result_info_sub::words19_a,    words<19>>,
    Row< 680, &result_info_sub::octets276_a,  octets<276>>,
    Row< 956, &result_info_sub::num_d,        u32>,
    Row< 960, &result_info_sub::words4_a,     words<4>>,
    Row< 976, &result_info_sub::ext_data_len, u32>,
    Row< 980, &result_info_sub::words5_b,     words<5>>,
    Row<1000, &result_info_sub::octets128_b,  received_only<128>>,
    Row<1128, &result_info_sub::octets128_a,  octets<128>>,
    Row<1256, &result_info_sub::short_a,      u16>,
    Row<1258, &result_info_sub::short_b,      u16>,
    Row<1260, &result_info_sub::flag_b,       flag>,
    Row<1264, &result_info_sub::num_f,        u32>,
    Row<1272, &result_info_sub::wide_a,       u64>>;

using ResultItems = ItemList<
    FixedBlock<ResultBlock>,
    Value<87, &result_info::nas_port_id>,
    Value<18, &result_info::reply_message>,
    Value<25, &result_info::class_>,
    Value<79, &result_info::eap_message>,
    Value<2, &result_info::user_password>,
    Value<24, &result_info::state>,
    Value<89, &result_info::chargeable_user_identity>,
    Value<304, &result_info::item_304>,
    Value<309, &result_info::item_309>,
    Value<311, &result_info::item_311>,
    BorrowedValue<318, &result_info::item_318>,
    BorrowedValue<319, &result_info::item_319>,
    BorrowedValue<320, &result_info::item_320>,
    BlockSizedData<298, &result_info::ext_data,
                   &result_info_sub::ext_data_len>,
    Data<302, &result_info::text_302, &result_info::text_302_len>,
    Data<303, &result_info::text_303, &result_info::text_303_len>,
    GrowingData<299, &result_info::tail_data, &result_info::tail_len>,
    Data<321, &result_info::data_321, &result_info::data_321_len>,
    GrowingData<322, &result_info::data_322, &result_info::data_322_len>>;
// clang-format on

struct ResultCodec {
  using Record = result_info;
  using Block = ResultBlock;
  using Items = ResultItems;
  using ArenaOrder =
      ValueOrder<&result_info::user_password, &result_info::eap_message, &result_info::nas_port_id,
                 &result_info::class_, &result_info::reply_message, &result_info::state,
                 &result_info::chargeable_user_identity, &result_info::item_304,
                 &result_info::item_309, &result_info::item_311>;
  static constexpr UnknownItem unknown_item = UnknownItem::skip_item;

  // Does not free data_321: when decoding fails, its block is leaked.
  static void release_copies(Record& record) {
    AAA_FREE(owned(record.tail_data));
    AAA_FREE(owned(record.data_322));
    AAA_FREE(owned(record.ext_data));
    AAA_FREE(owned(record.text_302));
    AAA_FREE(owned(record.text_303));
  }
};

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_result_info(result_info* record, void** body) {
  return aaa::encode<aaa::ResultCodec>(record, body);
}

void aaa_encap_result_info_sub(void* block, const result_info* record) {
  if (block == nullptr || record == nullptr) return;
  aaa::ResultBlock::encode(static_cast<std::uint8_t*>(block), record->sub);
}

std::uint32_t aaa_parse_result_info(result_info** record, const void* body, std::int32_t length) {
  return aaa::decode<aaa::ResultCodec>(record, body, length);
}

void aaa_parse_result_info_sub(result_info* record, const void* block) {
  if (record == nullptr || block == nullptr) return;
  aaa::ResultBlock::decode(static_cast<const std::uint8_t*>(block), record->sub);
}

std::uint32_t aaa::decode_result_without_body(result_info** record, const void* body,
                                              std::int32_t length) {
  if (aaa_parse_result_info(record, body, length) == 0) return 0;
  for (aaa_item* item : {&(*record)->item_318, &(*record)->item_319, &(*record)->item_320})
    item->value = nullptr;
  return 1;
}

void aaa_free_result_info(result_info* record) {
  if (record == nullptr) return;
  AAA_FREE(aaa::owned(record->data_321));
  aaa::free_record<aaa::ResultCodec>(record);
}
