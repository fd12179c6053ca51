// One user's authentication attempt.
#include "aaa_codec.h"
#include "codec/record_codec.h"
#include "codec/record_layout.h"

namespace aaa {
namespace {

// clang-format off
using AuthenBlock = Layout<authen_info, AAA_AUTHEN_BLOCK_SIZE,
    Row<   0, &authen_info::num_a,        u32>,
    Row<   4, &authen_info::code_a,       low_byte>,
    Row<   5, &authen_info::code_b,       low_byte>,
    Row<   6, &authen_info::code_c,       low_byte>,
    Row<   7, &authen_info::flag_a,       flag>,
    Row<   8, &authen_info::flag_b,       flag>,
    Row<   9, &authen_info::flag_c,       flag>,
    Row<  10, &authen_info::byte_a,       u8>,
    Row<  11, &authen_info::octets6_a,    octets<6>>,
    Row<  17, &authen_info::octets6_b,    octets<6>>,
    Row<  23, &authen_info::octets6_c,    octets<6>>,
    Row<  29, &authen_info::octets100_a,  octets<100>>,
    Row< 129, &authen_info::chars33_a,    text<33>>,
    Row< 162, &authen_info::octets36_a,   octets<36>>,
    Row< 198, &authen_info::chars65_a,    text<65>>,
    Row< 263, &authen_info::octets64_a,   octets<64>>,
    Row< 327, &authen_info::octets64_b,   octets<64>>,
    Row< 391, &authen_info::byte_c,       u8>,
    Row< 392, &authen_info::short_a,      u16>,
    Row< 396, &authen_info::num_b,        u32>,
    Row< 400, &authen_info::session_id,   u32>,
    Row< 404, &authen_info::num_c,        u32>,
    Row< 408, &authen_info::num_d,        u32>,
    Row< 412, &authen_info::num_e,        u32>,
    Row< 416, &authen_info::num_f,        u32>,
    Row< 420, &authen_info::num_g,        u32>,
    Row< 424, &authen_info::num_h,        u32>,
    Row< 428, &authen_info::num_i,        u32>,
    Row< 432, &authen_info::num_j,        u32>,
    Row< 436, &authen_info::num_k,        u32>,
    Row< 440, &authen_info::num_l,        u32>,
    Row< 444, &authen_info::num_m,        u32>,
    Row< 448, &authen_info::num_n,        u32>,
    Row< 452, &authen_info::num_o,        u32>,
    Row< 456, &authen_info::ext_data_len, u32>,
    Row< 460, &authen_info::num_p,        u32>,
    Row< 464, &authen_info::num_q,        u32>,
    Row< 472, &authen_info::octets128_a,  octets<128>>,
    Row< 600, &authen_info::short_b,      u16>,
    Row< 602, &authen_info::short_c,      u16>,
    Row< 604, &authen_info::byte_b,       u8>,
    Row< 608, &authen_info::octets16_a,   octets<16>>,
    Row< 624, &authen_info::octets16_b,   octets<16>>,
    Row< 640, &authen_info::octets16_c,   octets<16>>,
    Row< 656, &authen_info::flag_d,       flag>,
    Row< 664, &authen_info::wide_a,       u64>,
    Row< 672, &authen_info::octets100_b,  octets<100>>,
    Row< 772, &authen_info::num_r,        u32>,
    Row< 776, &authen_info::chars7_a,     text<7>>,
    Row< 809, &authen_info::byte_d,       u8>,
    Row< 810, &authen_info::octets32_a,   octets<32>>,
    Row< 842, &authen_info::octets32_b,   octets<32>>,
    Row< 874, &authen_info::octets32_c,   octets<32>>,
    Row< 908, &authen_info::num_s,        u32>,
    Row< 912, &authen_info::num_t,        u32>,
    Row< 916, &authen_info::num_u,        u32>,
    Row< 920, &authen_info::octets256_a,  octets<256>>,
    Row<1176, &authen_info::num_v,        u32>>;

using AuthenItems = ItemList<
    FixedBlock<AuthenBlock>,
    Value<2, &authen_info::user_password>,
    Value<3, &authen_info::chap_password>,
    Value<60, &authen_info::chap_challenge>,
    Value<4, &authen_info::nas_ip_address>,
    Value<79, &authen_info::eap_message>,
    Value<24, &authen_info::state>,
    Value<81, &authen_info::tunnel_private_group_id>,
    Value<89, &authen_info::chargeable_user_identity>,
    Value<305, &authen_info::item_305>,
    Value<309, &authen_info::item_309>,
    Value<168, &authen_info::framed_ipv6_address>,
    Value<306, &authen_info::item_306>,
    Value<307, &authen_info::item_307>,
    Value<308, &authen_info::item_308>,
    BlockSizedData<298, &authen_info::ext_data, &authen_info::ext_data_len>,
    Text<301, &authen_info::ext_text>,
    GrowingData<299, &authen_info::tail_data, &authen_info::tail_len>>;
// clang-format on

struct AuthenCodec {
  using Record = authen_info;
  using Block = AuthenBlock;
  using Items = AuthenItems;
  using ArenaOrder =
      ValueOrder<&authen_info::user_password, &authen_info::chap_password,
                 &authen_info::chap_challenge, &authen_info::nas_ip_address,
                 &authen_info::eap_message, &authen_info::state,
                 &authen_info::tunnel_private_group_id, &authen_info::chargeable_user_identity,
                 &authen_info::item_305, &authen_info::item_309, &authen_info::framed_ipv6_address,
                 &authen_info::item_306, &authen_info::item_307, &authen_info::item_308>;
  static constexpr UnknownItem unknown_item = UnknownItem::skip_header;

  static void release_copies(Record& record) {
    AAA_FREE(owned(record.tail_data));
    AAA_FREE(owned(record.ext_text));
    AAA_FREE(owned(record.ext_data));
  }
};

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_authen_info(authen_info* record, void** body) {
  return aaa::encode<aaa::AuthenCodec>(record, body);
}

void aaa_encap_authen_info_sub(void* block, const authen_info* record) {
  if (block == nullptr || record == nullptr) return;
  aaa::AuthenBlock::encode(static_cast<std::uint8_t*>(block), *record);
}

std::uint32_t aaa_parse_authen_info(authen_info** record, const void* body, std::int32_t length) {
  return aaa::decode<aaa::AuthenCodec>(record, body, length);
}

void aaa_parse_authen_info_sub(authen_info* record, const void* block) {
  if (record == nullptr || block == nullptr) return;
  aaa::AuthenBlock::decode(static_cast<const std::uint8_t*>(block), *record);
}

void aaa_free_authen_info(authen_info* record) {
  aaa::free_record<aaa::AuthenCodec>(record);
}
