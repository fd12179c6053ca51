// The decoder takes a block of fixed size: the input is cut or filled up with zeros.
#include <algorithm>
#include <cstring>
#include <vector>

#include "traffic/touch.h"

namespace {

// A message that sends on what was received.
radext_msg answer_to(const radext_msg_info& received) {
  radext_msg answer{};
  answer.text_a = answer.text_h = received.text_a;
  answer.text_b = received.text_b;
  answer.text_c = received.text_c;
  answer.text_d = received.text_d;
  answer.text_e = received.text_e;
  answer.text_f = received.text_f;
  answer.text_g = received.text_g;
  answer.flag_a = static_cast<std::uint8_t>(received.flag_a);
  return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> block(AAA_RADEXT_BLOCK_SIZE);
  std::copy_n(data, std::min(size, block.size()), block.begin());
  radext_msg_info received;
  std::memset(&received, 0, sizeof received);
  aaa_parse_radext_msg_sub(block.data(), &received);
  traffic::require(received.text_a[253] == 0 && received.text_g[253] == 0);
  traffic::require(received.flag_a <= 1);

  const radext_msg answer = answer_to(received);
  std::fill(block.begin(), block.end(), std::uint8_t{0});
  aaa_encap_radext_msg_sub(block.data(), &answer);
  radext_msg_info again;
  std::memset(&again, 0, sizeof again);
  aaa_parse_radext_msg_sub(block.data(), &again);
  traffic::require(std::strcmp(again.text_a, received.text_a) == 0);
  traffic::require(std::strcmp(again.text_g, received.text_g) == 0);
  return 0;
}
