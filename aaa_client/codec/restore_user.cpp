// One user's state, as a client sends it to aaad to restore the user or for a hot backup.
#include "aaa_codec.h"
#include "codec/flat_blocks.h"

void aaa_encap_restore_user(const restore_user_info* record, void* block) {
  if (record == nullptr || block == nullptr) return;
  aaa::RestoreUserBlock::encode(static_cast<std::uint8_t*>(block), *record);
}
