// What all measured programs share: each runs a number of operations on request and reports the
// time. script/bench runs several of them in turns.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace bench {

// The command line: pairs of --NAME NUMBER.
class Options {
 public:
  Options(int argc, char** argv);
  std::size_t number(const std::string& name, std::size_t fallback) const;
  bool has(const std::string& name) const { return numbers_.count(name) != 0; }

 private:
  std::map<std::string, std::size_t> numbers_;
};

class Workload {
 public:
  virtual ~Workload() = default;
  virtual void run(std::size_t operations) = 0;
};

using MakeWorkload = std::function<std::unique_ptr<Workload>(const Options&)>;

// The body of main(). With --operations N: runs N operations once. Otherwise: for every number read
// from standard input runs that many operations. Prints a line for each run: nanoseconds of
// processor time of the program and its server, and voluntary context switches of the program. All
// threads and processes run on one processor: --processor N, or the last one that the process may
// use.
int run_main(int argc, char** argv, const MakeWorkload& make);

}  // namespace bench
