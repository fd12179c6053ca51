#include "transport/debug_log.h"

namespace aaa {

std::uint16_t g_aaalib_debug_count_curr = 0;

}  // namespace aaa

std::int32_t aaalib_debug_num_check() {
  using namespace aaa;
  const std::uint32_t limit = load(g_aaa_status.debug_msg_limit);
  if (limit != 0 && limit - 1 < load(g_aaalib_debug_count_curr)) {
    AAA_UNGATED_LOG("AAALIB debug msg num exceed limit, auto stop!\r\n");
    store(g_aaalib_debug_count_curr, std::uint16_t{0});
    store(g_aaa_status.debug_msg_limit, std::uint32_t{1000});
    return 0;
  }
  add(g_aaalib_debug_count_curr, std::uint16_t{1});
  return 1;
}

void aaa_set_debug_switch(std::uint32_t on) {
  if (on <= 1) aaa::store(g_aaa_status.debug, on);
}
