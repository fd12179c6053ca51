// What bytes on the event socket must lead to, by the rules of the two modes.
#pragma once

#include <cstddef>
#include <vector>

#include "hostile/receive_path.h"

namespace test {

enum class Mode { thread, agent };

enum class LinkAfter {
  in_step,    // the next frame is read from its beginning, on the same connection
  lost,       // the connection is given up and built anew
  unwatched,  // nobody reads until the heartbeat fails; then it is built anew
};

struct Course {
  std::vector<Dispatched> dispatched = {};
  LinkAfter link = LinkAfter::in_step;
  bool marker_told = false;
};

// The course after `stream` and then silence, when no more than `memory` bytes can be allocated.
Course expected_course(const Bytes& stream, Mode mode, std::size_t memory);

}  // namespace test
