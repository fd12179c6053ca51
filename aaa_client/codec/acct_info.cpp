// One accounting event of a user session.
#include "aaa_codec.h"
#include "codec/record_tables.h"

namespace aaa {
namespace {

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
