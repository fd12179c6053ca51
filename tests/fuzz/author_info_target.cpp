#include "fuzz/info_record_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::run<author_info>(data, size);
  return 0;
}
