// One user's authentication attempt.
#include "aaa_codec.h"
#include "codec/record_tables.h"

namespace aaa {
namespace {

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
