// The decoder of one record, FUZZ_RECORD: decodes, reads everything, encodes what came out, and
// decodes that.
#include "support/failing_allocator.h"
#include "traffic/touch.h"
#include "transport/base/memory.h"

using traffic::require;
using traffic::touch;
using traffic::touch_items;

namespace fuzz {

// A body may claim counts that ask for gigabytes.
template <typename Record>
struct Coder : test::Codec<Record> {
  static constexpr std::size_t largest_block = 16 << 20;
  static constexpr bool decodes_what_it_encodes = true;
};

// Arrays of a thousand elements. Larger ones only cost time.
struct LdapCoder {
  static constexpr std::size_t largest_block = 16384;
  static constexpr bool decodes_what_it_encodes = false;
};
template <>
struct Coder<ldap_search_info> : LdapCoder {
  static constexpr auto decode = aaa_parse_ldap_search_info;
  static constexpr auto encode = aaa_encap_ldap_search_info;
  static constexpr auto release = aaa_free_ldap_search_info;
};
template <>
struct Coder<ldap_search_result> : LdapCoder {
  static constexpr auto decode = aaa_parse_ldap_search_result;
  static constexpr auto encode = aaa_encap_ldap_search_result_info;
  static constexpr auto release = aaa_free_ldap_search_result;
};

template <typename Record>
void run(const std::uint8_t* data, std::size_t size) {
  using C = Coder<Record>;
  const test::TrackedHeap heap(C::largest_block);
  Record* record = nullptr;
  if (C::decode(&record, data, static_cast<std::int32_t>(size)) == 0) return;
  touch(record, sizeof *record);
  touch_items(*record);
  void* body = nullptr;
  const std::uint32_t length = C::encode(record, &body);
  C::release(record);
  touch(body, length);
  if (C::decodes_what_it_encodes && length != 0) {
    Record* again = nullptr;
    require(C::decode(&again, body, static_cast<std::int32_t>(length)) == 1);
    touch_items(*again);
    C::release(again);
  }
  AAA_FREE(body);
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::run<FUZZ_RECORD>(data, size);
  return 0;
}
