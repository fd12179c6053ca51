// The outcome of a user's authentication, authorization or accounting request.
#include "codec/result_info.h"

#include "codec/record_tables.h"

namespace aaa {
namespace {

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
