// One user's state, as a client sends it to aaad to restore the user or for a hot backup.
#include "aaa_codec.h"
#include "codec/record_layout.h"

namespace aaa {
namespace {

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

}  // namespace
}  // namespace aaa

void aaa_encap_restore_user(const restore_user_info* record, void* block) {
  if (record == nullptr || block == nullptr) return;
  aaa::RestoreUserBlock::encode(static_cast<std::uint8_t*>(block), *record);
}
