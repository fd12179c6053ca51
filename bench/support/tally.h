// Counts messages that the server has read; shared by both processes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

// Construct it before the server process starts.
class Tally {
 public:
  Tally();
  Tally(const Tally&) = delete;
  Tally& operator=(const Tally&) = delete;

  // In the client: before it sends that many messages, and after.
  void expect(std::size_t messages) { *remaining_ = messages; }
  void wait() const;

  // In the server.
  void count(std::size_t messages) const;

 private:
  std::uint64_t* remaining_;
  int all_read_;
};

}  // namespace bench
