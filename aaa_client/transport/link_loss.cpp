#include "transport/link_loss.h"

#include <cstdint>

#include "transport/atomic_word.h"

namespace aaa {
namespace {

std::uint8_t lost = 0;

}  // namespace

void announce_link_loss() {
  store(lost, std::uint8_t{1});
}
void forget_link_loss() {
  store(lost, std::uint8_t{0});
}
bool link_is_lost() {
  return load(lost) != 0;
}

}  // namespace aaa
