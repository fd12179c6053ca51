#include "codec/record_layout.h"

namespace aaa {

void copy_bulk(void* to, const void* from, std::size_t size) {
  std::memcpy(to, from, size);
}

}  // namespace aaa
