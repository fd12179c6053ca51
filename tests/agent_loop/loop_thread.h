// An event loop of the development host on a thread of its own.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <mutex>
#include <queue>
#include <string>
#include <thread>

#include "zv_host.h"
#include "zv_thread.h"

namespace test {

class LoopThread {
 public:
  // `before` is called before the loop runs.
  explicit LoopThread(const std::function<void(zv_thread_master*)>& before = [](zv_thread_master*) {
  }) {
    EXPECT_EQ(0, pipe(wake_));
    watch();
    before(master_);
    thread_ = std::thread([this] { EXPECT_EQ(0, zv_host_run(master_)); });
  }
  ~LoopThread() {
    call([this] { zv_host_stop(master_); });
    thread_.join();
    zv_host_destroy(master_);
    ::close(wake_[0]);
    ::close(wake_[1]);
  }
  LoopThread(const LoopThread&) = delete;
  LoopThread& operator=(const LoopThread&) = delete;

  zv_thread_master* master() const { return master_; }

  // Runs `action` as a task of the loop and waits until it has returned.
  void call(std::function<void()> action) {
    std::packaged_task<void()> task(std::move(action));
    std::future<void> done = task.get_future();
    {
      const std::lock_guard<std::mutex> hold(lock_);
      actions_.push(std::move(task));
    }
    EXPECT_EQ(1, ::write(wake_[1], "", 1));
    done.get();
  }

  // Tasks of a name that wait, or of any name but the loop's own.
  std::size_t scheduled(const std::string& name) {
    std::size_t count = 0;
    call([&] { count = zv_host_scheduled(master_, name.c_str()); });
    return count;
  }
  std::size_t scheduled() {
    std::size_t count = 0;
    call([&] { count = zv_host_scheduled(master_, nullptr); });
    return count - 1;
  }

 private:
  void watch() {
    EXPECT_NE(nullptr, zv_thread_add_read_high_withname(master_, take, this, wake_[0], "wake"));
  }
  static int take(zv_thread* task) {
    auto* const self = static_cast<LoopThread*>(zv_host_argument(task));
    char byte = 0;
    EXPECT_EQ(1, ::read(self->wake_[0], &byte, 1));
    self->watch();
    self->next()();
    return 0;
  }
  std::packaged_task<void()> next() {
    const std::lock_guard<std::mutex> hold(lock_);
    std::packaged_task<void()> task = std::move(actions_.front());
    actions_.pop();
    return task;
  }

  zv_thread_master* const master_ = zv_host_create();
  int wake_[2] = {-1, -1};
  std::mutex lock_;
  std::queue<std::packaged_task<void()>> actions_;
  std::thread thread_;
};

}  // namespace test
