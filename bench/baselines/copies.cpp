// As many allocations as encoding and decoding of a record make, and one copy of the body each way.
// --bytes: of the body. --items N: body and allocations of a record with N items of 24 bytes.
// --counted 1: with the library's allocator, which counts.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/records.h"
#include "support/workload.h"

namespace {

constexpr std::size_t small_block = 64;
// The record, the block of its values, and two separate values.
constexpr std::size_t blocks_of_typical_record = 4;
constexpr std::size_t blocks_of_items = 2;
constexpr std::size_t first_item = 4 + AAA_AUTHEN_BLOCK_SIZE;
constexpr std::size_t item_size = 4 + 24;

struct Heap {
  void* (*allocate)(std::size_t size);
  void (*release)(void* block);
};

constexpr Heap plain = {std::malloc, std::free};
constexpr Heap counted = {
    [](std::size_t size) { return aaa_malloc(0, "", static_cast<std::uint32_t>(size)); },
    [](void* block) { aaa_free(0, "", block); },
};

// Keeps the compiler from removing blocks and copies.
void use(void* block) {
  asm volatile("" : : "r"(block) : "memory");
}

class Copies : public bench::Workload {
 public:
  explicit Copies(const bench::Options& options)
      : heap_(options.number("counted", 0) != 0 ? counted : plain),
        body_(options.has("items") ? first_item + options.number("items", 0) * item_size
                                   : options.number("bytes", bench::codec_body)),
        blocks_(options.has("items") ? blocks_of_items : blocks_of_typical_record) {}

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      copy(1);
      copy(blocks_.size());
    }
  }

 private:
  void copy(std::size_t blocks) {
    blocks_[0] = heap_.allocate(body_.size());
    for (std::size_t i = 1; i < blocks; i++)
      use(blocks_[i] = heap_.allocate(small_block));
    std::memcpy(blocks_[0], body_.data(), body_.size());
    use(blocks_[0]);
    for (std::size_t i = 0; i < blocks; i++)
      heap_.release(blocks_[i]);
  }

  Heap heap_;
  bench::Bytes body_;
  std::vector<void*> blocks_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Copies>(options); });
}
