#include "faults/life_watch.h"

#include <cstdio>
#include <cstdlib>

namespace faults {
namespace {

constexpr std::chrono::seconds limit{60};
constexpr std::chrono::seconds period{1};

}  // namespace

LifeWatch::LifeWatch() : thread_([this] { watch(); }) {}

LifeWatch::~LifeWatch() {
  {
    const std::lock_guard hold(lock_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void LifeWatch::begin(std::function<std::string()> describe) {
  const std::lock_guard hold(lock_);
  describe_ = std::move(describe);
  deadline_ = Clock::now() + limit;
}

void LifeWatch::end() {
  const std::lock_guard hold(lock_);
  deadline_.reset();
}

void LifeWatch::watch() {
  std::unique_lock hold(lock_);
  while (!changed_.wait_for(hold, period, [this] { return over_; })) {
    if (!deadline_ || Clock::now() < *deadline_) continue;
    std::fprintf(stderr, "hangs: %s\n", describe_().c_str());
    soak::print_all_stacks();
    std::abort();
  }
}

}  // namespace faults
