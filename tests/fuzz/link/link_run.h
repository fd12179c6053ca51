// One run of the library against a played aaad, from registration to deregistration, all on the
// calling thread. What this needs to know of the library's inside is in link_run.cpp alone.
#pragma once

#include "aaa_client.h"
#include "fuzz/link/played_aaad.h"

namespace fuzz {

// Both leave the library as after loading, and end the program when a socket or a lock is left.
void run_receive_thread(PlayedAaad& aaad, const reg_info& info);
void run_event_loop(PlayedAaad& aaad, const reg_info& info);

// Blocks that the library has allocated and not freed.
std::uint32_t live_blocks();

}  // namespace fuzz
