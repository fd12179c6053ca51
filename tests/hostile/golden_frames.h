// A well-formed frame of each kind that aaad sends.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "codec/bodies.h"
#include "fuzz/link/played_client.h"

namespace test {

struct GoldenFrame {
  std::string name;
  std::uint32_t type;
  Bytes body;
};

// As it crosses a socket.
Bytes bytes_of(const GoldenFrame& frame);

// An answer on the request socket, and the question of the played client that it answers.
struct GoldenAnswer {
  fuzz::Question question;
  GoldenFrame frame;
};

// The answers to the register requests on the two sockets, and to the farewell.
GoldenFrame golden_registration();
GoldenFrame golden_welcome();
GoldenFrame golden_farewell();

// What aaad sends on the event socket.
std::vector<GoldenFrame> golden_events();

std::vector<GoldenAnswer> golden_answers();

}  // namespace test
