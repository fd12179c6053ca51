// The RADIUS-extension block, as a client fills it and as a client reads it.
#include "aaa_codec.h"
#include "codec/flat_blocks.h"

void aaa_encap_radext_msg_sub(void* block, const radext_msg* record) {
  if (block == nullptr || record == nullptr) return;
  aaa::SentRadextBlock::fill(static_cast<std::uint8_t*>(block), *record);
}

void aaa_parse_radext_msg_sub(const void* block, radext_msg_info* record) {
  if (block == nullptr || record == nullptr) return;
  aaa::ReceivedRadextBlock::decode(static_cast<const std::uint8_t*>(block), *record);
}
