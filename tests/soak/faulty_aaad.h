// Trouble for clients: a simulated aaad that delays, splits its writes into single bytes, speaks by
// itself and, if wanted, closes connections, all at random.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "aaad_sim.h"
#include "soak/load.h"
#include "traffic/messages.h"

namespace soak {

// Answers the queries of a ClientLoad. Each answer says which request it belongs to.
void answer_queries(aaa_sim::AaadSim& sim);

class FaultyAaad {
 public:
  enum class Closes { none, at_random };

  FaultyAaad(aaa_sim::AaadSim& sim, Closes closes, std::uint32_t seed)
      : sim_(sim), closes_(closes), random_(seed) {}
  ~FaultyAaad() { stop(); }
  FaultyAaad(const FaultyAaad&) = delete;
  FaultyAaad& operator=(const FaultyAaad&) = delete;

  void start();
  // Leaves the simulator quick and reliable.
  void stop();

  // How often a notice of this type went to the client.
  std::size_t sent(std::uint32_t type) const { return sent_.at(type); }
  std::size_t closes() const { return close_count_; }

 private:
  void take_step();
  void speak();
  void close();

  aaa_sim::AaadSim& sim_;
  const Closes closes_;
  Random random_;
  const std::vector<traffic::Message> notices_ = traffic::notices();
  std::thread thread_;
  std::atomic<bool> stopping_ = false;
  std::array<std::atomic<std::size_t>, 256> sent_{};
  std::atomic<std::size_t> close_count_ = 0;
};

}  // namespace soak
