// One user's authorization request.
#include "aaa_codec.h"
#include "codec/record_tables.h"

namespace aaa {
namespace {

struct AuthorCodec {
  using Record = author_info;
  using Block = AuthorBlock;
  using Items = AuthorItems;
  using ArenaOrder = ValueOrder<&author_info::user_password>;
  static constexpr UnknownItem unknown_item = UnknownItem::skip_header;

  static void release_copies(Record& record) {
    AAA_FREE(owned(record.tail_data));
    AAA_FREE(owned(record.ext_text));
  }
};

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_author_info(author_info* record, void** body) {
  return aaa::encode<aaa::AuthorCodec>(record, body);
}

void aaa_encap_author_info_sub(void* block, const author_info* record) {
  if (block == nullptr || record == nullptr) return;
  aaa::AuthorBlock::encode(static_cast<std::uint8_t*>(block), *record);
}

std::uint32_t aaa_parse_author_info(author_info** record, const void* body, std::int32_t length) {
  return aaa::decode<aaa::AuthorCodec>(record, body, length);
}

void aaa_parse_author_info_sub(author_info* record, const void* block) {
  if (record == nullptr || block == nullptr) return;
  aaa::AuthorBlock::decode(static_cast<const std::uint8_t*>(block), *record);
}

void aaa_free_author_info(author_info* record) {
  aaa::free_record<aaa::AuthorCodec>(record);
}
