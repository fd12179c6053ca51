#include "fuzz/touch_ldap.h"
#include "support/failing_allocator.h"
#include "transport/base/memory.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const test::TrackedHeap heap(fuzz::kLargestLdapBlock);
  ldap_search_info* record = nullptr;
  if (aaa_parse_ldap_search_info(&record, data, static_cast<std::int32_t>(size)) == 0) return 0;
  fuzz::touch_items(*record);

  void* body = nullptr;
  const std::uint32_t length = aaa_encap_ldap_search_info(record, &body);
  fuzz::touch(body, length);
  AAA_FREE(body);
  aaa_free_ldap_search_info(record);
  return 0;
}
