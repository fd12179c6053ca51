// One user's authorization request.
#include "aaa_codec.h"
#include "codec/record_codec.h"
#include "codec/record_layout.h"

namespace aaa {
namespace {

// clang-format off
using AuthorBlock = Layout<author_info, AAA_AUTHOR_BLOCK_SIZE,
    Row<   0, &author_info::num_a,       u32>,
    Row<   4, &author_info::code_a,      low_byte>,
    Row<   5, &author_info::code_b,      low_byte>,
    Row<   8, &author_info::session_id,  u32>,
    Row<  12, &author_info::num_b,       u32>,
    Row<  20, &author_info::octets128_a, octets<128>>,
    Row< 148, &author_info::short_a,     u16>,
    Row< 150, &author_info::short_b,     u16>,
    Row< 152, &author_info::flag_a,      flag>>;

using AuthorItems = ItemList<
    FixedBlock<AuthorBlock>,
    Value<2, &author_info::user_password>,
    Text<301, &author_info::ext_text>,
    GrowingData<299, &author_info::tail_data, &author_info::tail_len>>;
// clang-format on

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
