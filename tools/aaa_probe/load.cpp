#include "load.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace aaa_probe {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds kProgressInterval{200};

struct Counts {
  std::map<Status, std::uint32_t> by_status;
  std::vector<double> latencies;  // of requests with a result, in milliseconds

  std::uint32_t of(Status status) const {
    const auto at = by_status.find(status);
    return at == by_status.end() ? 0 : at->second;
  }
  std::size_t total() const {
    std::size_t sum = 0;
    for (const auto& [status, count] : by_status)
      sum += count;
    return sum;
  }
};

double rounded(double number) {
  return std::round(number * 1000) / 1000;
}

// The smallest value that `part` of all do not exceed.
double percentile(const std::vector<double>& sorted, double part) {
  if (sorted.empty()) return 0;
  const double rank = std::ceil(part * static_cast<double>(sorted.size()));
  return rounded(sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1]);
}

class Load {
 public:
  Load(const LoadOptions& options, const Attempt& attempt) : options_(options), attempt_(attempt) {}

  void run() {
    std::vector<std::jthread> workers;
    running_ = std::min(options_.parallel, options_.repeat);
    for (std::uint32_t i = std::min(options_.parallel, options_.repeat); i > 0; --i)
      workers.emplace_back([this] { work(); });
    show_progress();
  }

  Record summary() const {
    std::vector<double> sorted = counts_.latencies;
    std::ranges::sort(sorted);
    const double seconds = Seconds(end_ - start_).count();
    return {{"requests", counts_.total()},
            {"accepted", counts_.of(Status::accepted)},
            {"rejected", counts_.of(Status::rejected)},
            {"challenges", counts_.of(Status::challenged)},
            {"timed_out", counts_.of(Status::timed_out)},
            {"lost", counts_.of(Status::no_daemon)},
            {"seconds", rounded(seconds)},
            {"per_second", rounded(static_cast<double>(counts_.total()) / seconds)},
            {"median_ms", percentile(sorted, 0.5)},
            {"p99_ms", percentile(sorted, 0.99)},
            {"max_ms", percentile(sorted, 1)}};
  }

  Status status() const {
    for (const Status status :
         {Status::no_daemon, Status::timed_out, Status::rejected, Status::challenged})
      if (counts_.of(status) != 0) return status;
    return Status::accepted;
  }

 private:
  void work() {
    while (const auto number = next_number()) {
      if (options_.rate > 0) std::this_thread::sleep_until(start_of(*number));
      count_one(*number);
    }
    const std::lock_guard lock(mutex_);
    --running_;
    has_ended_.notify_all();
  }

  std::optional<std::uint32_t> next_number() {
    const std::lock_guard lock(mutex_);
    if (next_ == options_.repeat || counts_.of(Status::no_daemon) != 0) return std::nullopt;
    return next_++;
  }

  Clock::time_point start_of(std::uint32_t number) const {
    return start_ + std::chrono::duration_cast<Clock::duration>(Seconds(number / options_.rate));
  }

  void count_one(std::uint32_t number) {
    Clock::time_point sent = Clock::now();
    std::optional<double> latency;
    Status status;
    try {
      status = attempt_(number, [&sent] { sent = Clock::now(); });
      latency = Seconds(Clock::now() - sent).count() * 1000;
    } catch (const Failure& failure) {
      status = failure.status();
    }
    const std::lock_guard lock(mutex_);
    ++counts_.by_status[status];
    if (latency) counts_.latencies.push_back(*latency);
  }

  // Until the last worker has ended.
  void show_progress() {
    const bool is_shown = ::isatty(STDERR_FILENO) == 1;
    std::unique_lock lock(mutex_);
    do
      if (is_shown) print_progress();
    while (!has_ended_.wait_for(lock, kProgressInterval, [this] { return running_ == 0; }));
    end_ = Clock::now();
    if (is_shown) (void)std::fputs("\r\x1b[K", stderr);
  }

  void print_progress() const {
    const std::size_t done = counts_.total();
    (void)std::fprintf(stderr, "\r\x1b[K%zu of %u, %zu not accepted", done,
                       static_cast<unsigned>(options_.repeat), done - counts_.of(Status::accepted));
  }

  const LoadOptions options_;
  const Attempt& attempt_;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point end_ = start_;

  mutable std::mutex mutex_;
  std::condition_variable has_ended_;
  std::uint32_t running_ = 0;
  std::uint32_t next_ = 0;
  Counts counts_;
};

}  // namespace

Status run_load(const LoadOptions& options, const Attempt& attempt, Output& output) {
  Load load(options, attempt);
  load.run();
  output.print(load.summary());
  return load.status();
}

}  // namespace aaa_probe
