#include "fuzz/touch.h"
#include "support/failing_allocator.h"
#include "transport/memory.h"

namespace {

void touch_entry(const ldap_dn_entry& entry) {
  fuzz::touch(entry.dn);
  if (entry.pairs == nullptr) return;
  for (std::uint32_t i = 0; i < entry.pair_count; i++) {
    fuzz::touch(entry.pairs[i].name);
    fuzz::touch(entry.pairs[i].value);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const test::TrackedHeap heap(fuzz::kLargestBlock);
  ldap_search_result* record = nullptr;
  if (aaa_parse_ldap_search_result(&record, data, static_cast<std::int32_t>(size)) == 0) return 0;
  fuzz::touch(record->item_309);
  fuzz::touch(record->item_306);
  for (std::uint32_t i = 0; i < record->head.entry_count; i++)
    touch_entry(record->entries[i]);
  fuzz::touch(record->pool);

  void* body = nullptr;
  const std::uint32_t length = aaa_encap_ldap_search_result_info(record, &body);
  fuzz::touch(body, length);
  AAA_FREE(body);
  aaa_free_ldap_search_result(record);
  return 0;
}
