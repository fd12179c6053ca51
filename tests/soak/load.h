// Threads of a client that use the library as hard as they can, and the ledger of its sessions.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "aaa_client.h"

namespace soak {

// A small generator whose run can be repeated from its seed.
class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  // 0 to limit - 1.
  std::uint32_t below(std::uint32_t limit) {
    return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(engine_);
  }

 private:
  std::minstd_rand engine_;
};

// Which session ids the client was given, what it asked for them, what was answered. Any thread may
// write into it.
class SessionLedger {
 public:
  // Ids are granted in blocks of this size; the first block starts with 1.
  explicit SessionLedger(std::uint32_t block_size) : block_size_(block_size) { current_ = this; }

  // For reg_info.notify_result_cb: an answer for the ledger that was made last.
  static void note_result(result_info* result) {
    current_.load()->answered(result->sub.session_id);
  }

  void handed_out(std::uint32_t id);
  // Before a request is made; refused() takes it back when the request could not be.
  void asked(std::uint32_t id);
  void refused(std::uint32_t id);
  void answered(std::uint32_t id);
  void complain(const std::string& what);

  std::size_t ids() const {
    return locked([this] { return sessions_.size(); });
  }
  std::size_t requests() const {
    return locked([this] { return requests_; });
  }
  std::size_t answers() const {
    return locked([this] { return answers_; });
  }

  // What went wrong: ids given twice, answers nobody asked for, ids of a block that were skipped.
  std::vector<std::string> complaints() const;

 private:
  struct Session {
    bool asked = false;
    bool answered = false;
  };

  template <class Read>
  std::size_t locked(Read read) const {
    const std::lock_guard hold(lock_);
    return read();
  }

  static inline std::atomic<SessionLedger*> current_ = nullptr;
  const std::uint32_t block_size_;

  mutable std::mutex lock_;
  // Guarded by lock_.
  std::unordered_map<std::uint32_t, Session> sessions_;
  std::map<std::uint32_t, std::uint32_t> given_of_block_;
  std::size_t requests_ = 0;
  std::size_t answers_ = 0;
  std::vector<std::string> complaints_;
};

struct LoadShape {
  unsigned threads = 8;
  bool waits_for_results = false;  // one thread at a time, in place of a result callback
  std::uint32_t result_timeout_seconds = 5;
  bool asks_queries = false;  // needs an aaad that answers as answer_queries() has it
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
