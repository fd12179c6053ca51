// Threads of a client that make one kind of call each, over and over, and tell when every one of
// them has got an answer again.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "aaa_client.h"

namespace soak {

class SteadyCallers {
 public:
  // What the aaad-sim that they call must be told.
  static const std::vector<std::string>& sim_options();
  // For reg_info.notify_result_cb.
  static void note_result(result_info* result);

  explicit SteadyCallers(unsigned threads) : callers_(threads) {}
  ~SteadyCallers() { stop(); }
  SteadyCallers(const SteadyCallers&) = delete;
  SteadyCallers& operator=(const SteadyCallers&) = delete;

  void start();
  void stop();

  // Calls that have begun by now do not count any more.
  void begin_round() {
    ++round_;
    answers_before_ = answers_.load();
  }
  // Whether every thread has completed a call of this round.
  bool all_have_an_answer() const;
  // The numbers of the threads that have not, and how many answers there were all the same.
  std::string without_answer() const;

  std::size_t answers() const { return answers_; }

 private:
  struct Caller {
    std::thread thread;
    std::atomic<int> answered_round = 0;
  };

  void run(std::size_t number);

  std::vector<Caller> callers_;
  std::atomic<int> round_ = 1;
  std::atomic<bool> stopping_ = false;
  std::atomic<std::size_t> answers_ = 0;
  std::atomic<std::size_t> answers_before_ = 0;  // this round
};

}  // namespace soak
