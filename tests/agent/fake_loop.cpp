#include "agent/fake_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <utility>

struct zv_thread_master {};

struct zv_thread {
  test::AddedTask added;
};

namespace test {
namespace {

struct Loop {
  zv_thread_master master;
  std::list<std::unique_ptr<zv_thread>> waiting;
  std::vector<std::string> journal;
  std::size_t accepted_first = 0;
  std::size_t refusals_left = 0;
  std::size_t refused = 0;
  std::function<void()> meanwhile = [] {};
};

Loop* loop = nullptr;

bool is_refused() {
  if (loop->accepted_first > 0) return --loop->accepted_first, false;
  if (loop->refusals_left == 0) return false;
  --loop->refusals_left;
  ++loop->refused;
  loop->meanwhile();
  return true;
}

zv_thread* add(AddedTask task) {
  if (loop == nullptr) return ADD_FAILURE() << "no loop for " << task.name, nullptr;
  if (is_refused()) return nullptr;
  loop->journal.push_back("add " + task.name);
  loop->waiting.push_back(std::make_unique<zv_thread>(std::move(task)));
  return loop->waiting.back().get();
}

// Takes a task out of those that wait. Null when it is not among them.
template <class Condition>
std::unique_ptr<zv_thread> take(Condition condition) {
  const auto found = std::find_if(loop->waiting.begin(), loop->waiting.end(),
                                  [&](const auto& task) { return condition(*task); });
  if (found == loop->waiting.end()) return nullptr;
  std::unique_ptr<zv_thread> task = std::move(*found);
  loop->waiting.erase(found);
  return task;
}

}  // namespace

FakeLoop::FakeLoop() {
  loop = new Loop;
}
FakeLoop::~FakeLoop() {
  EXPECT_EQ(std::vector<std::string>(), names()) << "left behind on the loop";
  delete loop;
  loop = nullptr;
}

zv_thread_master* FakeLoop::master() const {
  return &loop->master;
}

std::vector<AddedTask> FakeLoop::tasks() const {
  std::vector<AddedTask> all;
  for (const auto& task : loop->waiting)
    all.push_back(task->added);
  return all;
}

std::vector<std::string> FakeLoop::names() const {
  std::vector<std::string> all;
  for (const AddedTask& task : tasks())
    all.push_back(task.name);
  return all;
}

AddedTask FakeLoop::task(const std::string& name) const {
  for (const AddedTask& task : tasks())
    if (task.name == name) return task;
  ADD_FAILURE() << name << " is not scheduled";
  return {};
}

int FakeLoop::run(const std::string& name) {
  const auto task = take([&](const zv_thread& one) { return one.added.name == name; });
  if (task != nullptr) return task->added.callback(task.get());
  ADD_FAILURE() << name << " is not scheduled";
  return 0;
}

void FakeLoop::accept(std::size_t first) {
  loop->accepted_first = first;
}

void FakeLoop::refuse(std::size_t times, std::function<void()> meanwhile) {
  loop->refusals_left = times;
  loop->refused = 0;
  loop->meanwhile = std::move(meanwhile);
}

std::size_t FakeLoop::refused() const {
  return loop->refused;
}

std::vector<std::string> FakeLoop::take_journal() {
  return std::exchange(loop->journal, {});
}

}  // namespace test

using test::add;

zv_thread* zv_thread_add_event_withname(zv_thread_master* master, zv_thread_fn callback,
                                        void* argument, int value, const char* name) {
  return add({"event", master, callback, argument, value, name});
}

zv_thread* zv_thread_add_timer_withname(zv_thread_master* master, zv_thread_fn callback,
                                        void* argument, long seconds, const char* name) {
  return add({"timer", master, callback, argument, seconds, name});
}

zv_thread* zv_thread_add_read_high_withname(zv_thread_master* master, zv_thread_fn callback,
                                            void* argument, int fd, const char* name) {
  EXPECT_LE(0, fd) << name;
  return add({"read_high", master, callback, argument, fd, name});
}

void zv_thread_cancel(zv_thread* task) {
  const auto cancelled = test::take([&](const zv_thread& one) { return &one == task; });
  if (cancelled == nullptr) {
    ADD_FAILURE() << "a task is cancelled that does not wait";
    return;
  }
  test::loop->journal.push_back("cancel " + cancelled->added.name);
}
