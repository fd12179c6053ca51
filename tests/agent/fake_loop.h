// An event-thread library that a test drives by hand. Tasks run when the test says so, and
// scheduling is refused as often as the test wants.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "zv_thread.h"

namespace test {

// How a task was added.
struct AddedTask {
  std::string way;  // "event", "timer" or "read_high"
  const zv_thread_master* master;
  zv_thread_fn callback;
  const void* argument;
  long number;  // the value, the seconds or the descriptor
  std::string name;

  bool operator==(const AddedTask&) const = default;
};

// One at a time. A task that is used after it has run or was cancelled fails the test.
class FakeLoop {
 public:
  FakeLoop();
  ~FakeLoop();
  FakeLoop(const FakeLoop&) = delete;
  FakeLoop& operator=(const FakeLoop&) = delete;

  zv_thread_master* master() const;

  // The tasks that wait, in the order in which they were added.
  std::vector<AddedTask> tasks() const;
  std::vector<std::string> names() const;
  AddedTask task(const std::string& name) const;

  // Runs the first task of a name and returns what it returned. Fails the test when there is none.
  int run(const std::string& name);

  // Refuses so many tasks, once it has accepted those it was told to accept first. At each refusal
  // `meanwhile` runs.
  void accept(std::size_t first);
  void refuse(
      std::size_t times, std::function<void()> meanwhile = [] {});
  std::size_t refused() const;

  // What was asked of the loop, as "add aaa-read" or "cancel aaa-read"; forgets it.
  std::vector<std::string> take_journal();
};

}  // namespace test
