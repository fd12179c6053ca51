// Threads of a client that use the library as hard as they can.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "soak/random.h"
#include "soak/session_ledger.h"

namespace soak {

struct LoadShape {
  unsigned threads = 8;
  bool waits_for_results = false;  // one thread at a time, in place of a result callback
  std::uint32_t result_timeout_seconds = 5;
  bool asks_queries = false;  // needs an aaad that answers as query_answers.h says
  std::chrono::microseconds pause{0};
  std::uint32_t seed = 1;
};

class ClientLoad {
 public:
  ClientLoad(SessionLedger& ledger, LoadShape shape) : ledger_(ledger), shape_(shape) {}
  ~ClientLoad() { stop(); }
  ClientLoad(const ClientLoad&) = delete;
  ClientLoad& operator=(const ClientLoad&) = delete;

  void start();
  void stop();

  std::size_t queries() const { return queries_; }
  // Results that waits ended with: those of link losses, and none at all.
  std::size_t lost_results() const { return lost_results_; }
  std::size_t missing_results() const { return missing_results_; }

 private:
  void run(std::uint32_t seed);
  void take_step(Random& random);
  void serve_user(Random& random);
  void submit(std::uint32_t id, Random& random);
  void wait_for_result(std::uint32_t id);
  void ask_query(Random& random);
  void expect_answer(const char* query, std::int64_t got, std::int64_t none, std::int64_t wanted);

  SessionLedger& ledger_;
  const LoadShape shape_;
  std::vector<std::thread> threads_;
  std::mutex waiter_;
  std::atomic<bool> stopping_ = false;
  std::atomic<std::size_t> queries_ = 0;
  std::atomic<std::size_t> lost_results_ = 0;
  std::atomic<std::size_t> missing_results_ = 0;
};

}  // namespace soak
