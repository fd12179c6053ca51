// How many messages the other process has read, known to both processes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

// Made before the server is started.
class Tally {
 public:
  Tally();
  Tally(const Tally&) = delete;
  Tally& operator=(const Tally&) = delete;

  // The client, before it sends so many messages, and behind them.
  void expect(std::size_t messages) { *remaining_ = messages; }
  void wait() const;

  // The server.
  void count(std::size_t messages) const;

 private:
  std::uint64_t* remaining_;
  int all_read_;
};

}  // namespace bench
