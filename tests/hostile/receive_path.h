// The library's receive path, driven on the test's own thread. What the tests need to know of the
// library's inside is in receive_path.cpp alone.
#pragma once

#include <cstdint>
#include <vector>

#include "codec/bodies.h"

namespace test {

// A message that the library has read whole and is about to handle.
struct Dispatched {
  std::uint32_t type;
  Bytes body;
  bool operator==(const Dispatched&) const = default;
};

// The messages since the last call. Their bodies were followed by a NUL, or null when empty.
std::vector<Dispatched> take_dispatched();

// Runs the receive thread's routine until end_receive_thread() is called inside one of its waits.
void run_receive_thread();
void end_receive_thread();

}  // namespace test
