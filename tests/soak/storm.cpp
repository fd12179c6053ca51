#include "soak/storm.h"

namespace soak {
namespace {

using aaa_sim::Role;
using aaa_sim::Settings;
using std::chrono::milliseconds;

}  // namespace

void Storm::start() {
  stopping_ = false;
  thread_ = std::thread([this] { run(); });
}

void Storm::stop() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
  sim_.change([](Settings& settings) {
    settings.byte_wise = false;
    settings.delay = milliseconds(0);
  });
}

void Storm::run() {
  while (!stopping_) {
    take_step();
    std::this_thread::sleep_for(milliseconds(1));
  }
}

void Storm::take_step() {
  const std::uint32_t choice = random_.below(100);
  if (choice == 0 && closes_ == Closes::at_random) return close();
  if (choice < 4)
    return sim_.change([](Settings& settings) { settings.byte_wise = !settings.byte_wise; });
  if (choice < 8) {
    const milliseconds delay(random_.below(4));
    return sim_.change([=](Settings& settings) { settings.delay = delay; });
  }
  speak();
}

void Storm::speak() {
  const Notice& notice = notices_[random_.below(static_cast<std::uint32_t>(notices_.size()))];
  sent_.at(notice.type) += sim_.send_message({}, Role::event, notice.type, 0, notice.body);
}

void Storm::close() {
  const Role role = random_.below(2) == 0 ? Role::event : Role::none;
  if (sim_.close_connections({}, role) != 0) ++close_count_;
}

}  // namespace soak
