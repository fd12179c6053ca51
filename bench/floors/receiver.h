// How a floor's receive thread takes messages from the event socket: polls, reads the header, then
// the body into a block of its own; or polls and reads all that is there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace bench {

using TakeBody = std::function<void(const std::uint8_t* body, std::size_t length)>;

void receive_in_two_reads(int fd, const TakeBody& take);
void receive_ahead(int fd, const TakeBody& take);

// `reads` is 1 or 2. Until the other side has gone.
void start_receiver(int fd, std::size_t reads, const TakeBody& take);

}  // namespace bench
