#include "support/tally.h"

#include <sys/eventfd.h>
#include <sys/mman.h>

#include <stdexcept>

namespace bench {

Tally::Tally() : all_read_(eventfd(0, EFD_CLOEXEC)) {
  void* const shared =
      mmap(nullptr, sizeof *remaining_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED || all_read_ < 0) throw std::runtime_error("no shared memory");
  remaining_ = static_cast<std::uint64_t*>(shared);
}

void Tally::wait() const {
  eventfd_t ignored = 0;
  eventfd_read(all_read_, &ignored);
}

void Tally::count(std::size_t messages) const {
  *remaining_ -= messages;
  if (*remaining_ == 0) eventfd_write(all_read_, 1);
}

}  // namespace bench
