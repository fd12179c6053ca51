// One accounting event of a user session.
#include "aaa_codec.h"
#include "codec/record_codec.h"
#include "codec/record_layout.h"

namespace aaa {
namespace {

// clang-format off
using AcctBlock = Layout<acct_info, AAA_ACCT_BLOCK_SIZE,
    Row<   0, &acct_info::num_a,       u32>,
    Row<   4, &acct_info::code_a,      low_byte>,
    Row<   5, &acct_info::code_b,      low_byte>,
    Row<   6, &acct_info::code_c,      low_byte>,
    Row<   7, &acct_info::byte_a,      u8>,
    Row<   8, &acct_info::octets6_a,   octets<6>>,
    Row<  14, &acct_info::octets6_b,   octets<6>>,
    Row<  20, &acct_info::octets6_c,   octets<6>>,
    Row<  26, &acct_info::octets100_a, octets<100>>,
    Row< 126, &acct_info::words8_a,    words<8>>,
    Row< 158, &acct_info::byte_b,      u8>,
    Row< 159, &acct_info::chars65_a,   chars<65>>,
    Row< 224, &acct_info::words32_a,   words<32>>,
    Row< 352, &acct_info::byte_d,      u8>,
    Row< 354, &acct_info::short_a,     u16>,
    Row< 356, &acct_info::num_f,       u32>,
    Row< 360, &acct_info::num_c,       u32>,
    Row< 364, &acct_info::num_d,       u32>,
    Row< 368, &acct_info::num_e,       u32>,
    Row< 372, &acct_info::num_b,       u32>,
    Row< 376, &acct_info::words8_b,    words<8>>,
    Row< 408, &acct_info::session_id,  u32>,
    Row< 412, &acct_info::num_g,       u32>,
    Row< 416, &acct_info::num_k,       u32>,
    Row< 420, &acct_info::words4_a,    words<4>>,
    Row< 436, &acct_info::num_i,       u32>,
    Row< 440, &acct_info::num_j,       u32>,
    Row< 444, &acct_info::words7_a,    words<7>>,
    Row< 472, &acct_info::byte_c,      u8>,
    Row< 476, &acct_info::octets16_a,  octets<16>>,
    Row< 492, &acct_info::octets16_b,  octets<16>>,
    Row< 508, &acct_info::octets16_c,  octets<16>>,
    Row< 524, &acct_info::num_h,       u32>,
    Row< 528, &acct_info::octets128_a, octets<128>>,
    Row< 656, &acct_info::short_b,     u16>,
    Row< 658, &acct_info::short_c,     u16>,
    Row< 660, &acct_info::flag_a,      flag>,
    Row< 664, &acct_info::octets100_b, octets<100>>,
    Row< 764, &acct_info::num_l,       u32>,
    Row< 768, &acct_info::flag_b,      flag>>;

using AcctItems = ItemList<
    FixedBlock<AcctBlock>,
    Value<2, &acct_info::user_password>,
    Value<25, &acct_info::class_>,
    Value<89, &acct_info::chargeable_user_identity>,
    Value<305, &acct_info::item_305>,
    Value<168, &acct_info::framed_ipv6_address>,
    Value<306, &acct_info::item_306>,
    Value<307, &acct_info::item_307>,
    Value<308, &acct_info::item_308>,
    Text<301, &acct_info::ext_text>,
    GrowingData<299, &acct_info::tail_data, &acct_info::tail_len>,
    GrowingData<322, &acct_info::data_322, &acct_info::data_322_len>>;
// clang-format on

struct AcctCodec {
  using Record = acct_info;
  using Block = AcctBlock;
  using Items = AcctItems;
  using ArenaOrder =
      ValueOrder<&acct_info::user_password, &acct_info::chargeable_user_identity,
                 &acct_info::class_, &acct_info::item_305, &acct_info::framed_ipv6_address,
                 &acct_info::item_306, &acct_info::item_307, &acct_info::item_308>;
  static constexpr UnknownItem unknown_item = UnknownItem::skip_header;

  static void release_copies(Record& record) {
    AAA_FREE(owned(record.tail_data));
    AAA_FREE(owned(record.data_322));
    AAA_FREE(owned(record.ext_text));
  }
};

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_acct_info(acct_info* record, void** body) {
  return aaa::encode<aaa::AcctCodec>(record, body);
}

void aaa_encap_acct_info_sub(void* block, const acct_info* record) {
  if (block == nullptr || record == nullptr) return;
  aaa::AcctBlock::encode(static_cast<std::uint8_t*>(block), *record);
}

std::uint32_t aaa_parse_acct_info(acct_info** record, const void* body, std::int32_t length) {
  return aaa::decode<aaa::AcctCodec>(record, body, length);
}

void aaa_parse_acct_info_sub(acct_info* record, const void* block) {
  if (record == nullptr || block == nullptr) return;
  aaa::AcctBlock::decode(static_cast<const std::uint8_t*>(block), *record);
}

void aaa_free_acct_info(acct_info* record) {
  aaa::free_record<aaa::AcctCodec>(record);
}
