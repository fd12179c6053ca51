#include "fuzz/link/scripted_loop.h"

#include <algorithm>
#include <list>

#include "traffic/touch.h"

struct zv_thread_master {};

struct zv_thread {
  zv_thread_fn callback;
  bool reads;
  long seconds;
  std::string name;
};

namespace fuzz {

using traffic::require;

namespace {

zv_thread_master only_loop;
std::list<zv_thread> waiting;

// A loop that only beats, on a link that nobody reads, stops after so many tasks in a row.
constexpr int kPatience = 32;

zv_thread* add(zv_thread task) {
  return &waiting.emplace_back(std::move(task));
}

template <class Condition>
auto find(Condition condition) {
  return std::find_if(waiting.begin(), waiting.end(), condition);
}

int run_one(std::list<zv_thread>::iterator found) {
  require(found != waiting.end());
  std::list<zv_thread> running;
  running.splice(running.end(), waiting, found);
  return running.front().callback(&running.front());
}

// Runs what comes next. Returns false when there is nothing.
bool run_next(ScriptedAaad& aaad) {
  auto next = find([](const zv_thread& task) { return !task.reads && task.seconds == 0; });
  if (next == waiting.end()) {
    if (aaad.is_over()) return false;
    next = find([](const zv_thread& task) { return task.reads; });
  }
  if (next == waiting.end()) next = find([](const zv_thread& task) { return task.seconds > 0; });
  if (next == waiting.end()) return false;
  aaad.pass(static_cast<std::uint64_t>(next->seconds) * 1000000);
  run_one(next);
  return true;
}

}  // namespace

ScriptedLoop::~ScriptedLoop() {
  require(waiting.empty());
}

zv_thread_master* ScriptedLoop::master() {
  return &only_loop;
}

std::vector<std::string> ScriptedLoop::names() const {
  std::vector<std::string> all;
  for (const zv_thread& task : waiting)
    all.push_back(task.name);
  return all;
}

int ScriptedLoop::run(const std::string& name) {
  return run_one(find([&](const zv_thread& task) { return task.name == name; }));
}

void ScriptedLoop::run_all(ScriptedAaad& aaad) {
  int idle = 0;
  for (std::size_t left = aaad.steps_left(); idle < kPatience && run_next(aaad); idle++) {
    if (aaad.steps_left() == left) continue;
    left = aaad.steps_left();
    idle = 0;
  }
}

}  // namespace fuzz

using fuzz::add;

zv_thread* zv_thread_add_event_withname(zv_thread_master*, zv_thread_fn callback, void*, int,
                                        const char* name) {
  return add({callback, false, 0, name});
}

zv_thread* zv_thread_add_timer_withname(zv_thread_master*, zv_thread_fn callback, void*,
                                        long seconds, const char* name) {
  return add({callback, false, seconds, name});
}

zv_thread* zv_thread_add_read_high_withname(zv_thread_master*, zv_thread_fn callback, void*, int fd,
                                            const char* name) {
  fuzz::require(fd >= 0);
  return add({callback, true, 0, name});
}

void zv_thread_cancel(zv_thread* task) {
  const auto found = fuzz::find([task](const zv_thread& one) { return &one == task; });
  fuzz::require(found != fuzz::waiting.end());
  fuzz::waiting.erase(found);
}
