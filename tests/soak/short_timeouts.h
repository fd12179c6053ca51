// Scripts for sockets that give up waiting after 5 ms in place of 2 s.
#pragma once

#include <atomic>
#include <optional>

#include "support/scripted_calls.h"

namespace soak {

// For Scripts::setsockopt.
std::optional<int> shorten_timeout(int fd, int level, int option);

// The whole set: while `passing`, each wait of the request socket that ends without a byte moves
// the clock by the 2 s that it stands for. Off where an answer is to come: on a busy machine that
// takes longer than such a wait.
test::Scripts let_time_pass(test::MovedClock& clock, const std::atomic<bool>& passing);

}  // namespace soak
