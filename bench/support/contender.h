// What every measured program has in common: it does so many operations when told to, and says how
// long they took. script/bench runs several of them in turns.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace bench {

// The command line: --NAME NUMBER, any number of times.
class Options {
 public:
  Options(int argc, char** argv);
  std::size_t number(const std::string& name, std::size_t fallback) const;
  bool has(const std::string& name) const { return numbers_.count(name) != 0; }

 private:
  std::map<std::string, std::size_t> numbers_;
};

class Contender {
 public:
  virtual ~Contender() = default;
  virtual void run(std::size_t operations) = 0;
};

using MakeContender = std::function<std::unique_ptr<Contender>(const Options&)>;

// The whole of main(). With --operations N: runs N operations once. Otherwise: for every number
// read from standard input runs so many operations and answers with one line: nanoseconds of
// processor time of the program and its server, and context switches of the program. Everything
// runs on one processor, --processor N, or the last one that the process may use.
int contend(int argc, char** argv, const MakeContender& make);

}  // namespace bench
