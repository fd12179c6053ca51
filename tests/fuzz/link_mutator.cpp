// Mutations of the link's inputs that keep them inputs: steps are changed, moved, cut and repeated,
// and most frames keep a marker and a length that is true.
#include <algorithm>
#include <cstring>
#include <random>

#include "fuzz/link/link_script.h"
#include "support/bytes.h"

// The fuzzer's own mutations, and its hook for others.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed);

namespace {

using fuzz::Script;
using fuzz::Step;

constexpr std::size_t kHeader = 16;
constexpr std::size_t kRoomToGrow = 64;

class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t limit) { return random_() % limit; }

  void change(Script& script) {
    const auto place =
        script.steps.begin() + static_cast<std::ptrdiff_t>(below(script.steps.size()));
    switch (below(8)) {
      case 0:
        script.steps.insert(place, Step(script.steps[below(script.steps.size())]));
        break;
      case 1:
        script.steps.erase(place);
        break;
      case 2:
        std::swap(*place, script.steps[below(script.steps.size())]);
        break;
      case 3:
        cut(script, place);
        break;
      case 4:
        script.steps.insert(place, fault());
        break;
      default:
        change_bytes(*place);
    }
  }

 private:
  // The second piece of an answer belongs to the first.
  void cut(Script& script, std::vector<Step>::iterator place) {
    if (place->bytes.size() < 2) return;
    Step rest = *place;
    const auto at = static_cast<std::ptrdiff_t>(1 + below(place->bytes.size() - 1));
    rest.bytes.erase(rest.bytes.begin(), rest.bytes.begin() + at);
    if (is_answer(rest.kind)) rest.kind = fuzz::Kind::more_answer;
    place->bytes.erase(place->bytes.begin() + at, place->bytes.end());
    script.steps.insert(place + 1, std::move(rest));
  }

  Step fault() {
    const std::size_t first = static_cast<std::size_t>(fuzz::Kind::close);
    const auto kind = static_cast<fuzz::Kind>(first + below(fuzz::kKinds - first));
    return {kind, static_cast<std::uint16_t>(below(256)), {}};
  }

  void change_bytes(Step& step) {
    if (!carries_bytes(step.kind)) {
      step.number = static_cast<std::uint16_t>(random_());
      return;
    }
    const std::size_t size = step.bytes.size();
    step.bytes.resize(size + kRoomToGrow);
    step.bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(step.bytes.data()), size,
                                       size + kRoomToGrow));
    if (step.bytes.size() < kHeader || below(4) == 0) return;
    step.bytes.replace(0, 4, test::word_bytes(0x01010101));
    const auto length = static_cast<std::uint32_t>(step.bytes.size() - kHeader);
    step.bytes.replace(12, 4, test::word_bytes(length));
  }

  std::minstd_rand random_;
};

}  // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                    unsigned seed) {
  Mutator mutator(seed);
  Script script = fuzz::read_script({data, size});
  if (script.steps.empty() || mutator.below(4) == 0) return LLVMFuzzerMutate(data, size, max_size);
  mutator.change(script);
  const std::string input = write_script(script);
  const std::size_t kept = std::min(input.size(), max_size);
  std::memcpy(data, input.data(), kept);
  return kept;
}
