// The counters of the socket loops, g_aaa_msg_stat. Increments of several threads may be lost.
#pragma once

#include <cstdint>

namespace aaa {

void count_send_error(std::int32_t fd, int error);
void count_send_again(std::int32_t fd, int error);
void count_recv_failure(std::int32_t fd, int error);
void count_send_discard();

}  // namespace aaa
