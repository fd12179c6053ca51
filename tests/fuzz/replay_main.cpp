// Runs a fuzz target without a fuzzer: first the files of the corpus directories that are given,
// then a fixed number of mutations of them, the same ones each time.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

constexpr int kMutations = 5000;

std::vector<Input> read_corpus(std::span<char*> directories) {
  std::vector<std::filesystem::path> paths;
  for (const char* directory : directories)
    for (const auto& entry : std::filesystem::directory_iterator(directory))
      paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  std::vector<Input> inputs;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return inputs;
}

class Mutator {
 public:
  Input mutate(Input input) {
    for (std::size_t i = 0; i <= below(6); i++)
      change(input);
    input.shrink_to_fit();  // so that reading past the end is seen
    return input;
  }

 private:
  void change(Input& input) {
    if (input.empty()) input.resize(64);
    const std::size_t place = below(input.size());
    switch (below(5)) {
      case 0:
        input[place] = static_cast<std::uint8_t>(random_());
        break;
      case 1:
        put_word(input, place, static_cast<std::uint16_t>(below(2) == 0 ? 0xFFFF : below(64)));
        break;
      case 2:
        put_word(input, place, static_cast<std::uint16_t>(298 + below(25)));
        break;
      case 3:
        input.resize(input.size() - below(std::min<std::size_t>(input.size(), 64)));
        break;
      default:
        repeat_part(input, place);
    }
  }

  void put_word(Input& input, std::size_t place, std::uint16_t word) {
    if (place + 2 > input.size()) return;
    input[place] = static_cast<std::uint8_t>(word);
    input[place + 1] = static_cast<std::uint8_t>(word >> 8);
  }

  void repeat_part(Input& input, std::size_t place) {
    const std::size_t count = std::min(input.size() - place, below(64));
    const Input part(input.begin() + static_cast<std::ptrdiff_t>(place),
                     input.begin() + static_cast<std::ptrdiff_t>(place + count));
    input.insert(input.end(), part.begin(), part.end());
  }

  std::size_t below(std::size_t limit) { return random_() % limit; }

  std::mt19937_64 random_{1};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: " << argv[0] << " CORPUS-DIRECTORY...\n";
    return EXIT_FAILURE;
  }
  const auto corpus = read_corpus({argv + 1, argv + argc});
  if (corpus.empty()) {
    std::cerr << "no inputs\n";
    return EXIT_FAILURE;
  }
  for (const Input& input : corpus)
    LLVMFuzzerTestOneInput(input.data(), input.size());
  Mutator mutator;
  for (std::size_t i = 0; i < kMutations; i++) {
    const Input input = mutator.mutate(corpus[i % corpus.size()]);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
}
