// An event loop of the host, and tasks that note their names when they run.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zv_host.h"
#include "zv_thread.h"

namespace test {

// A task's work, as its argument.
struct Work {
  std::function<void(zv_thread*)> action;
};

inline int run_work(zv_thread* task) {
  static_cast<Work*>(zv_host_argument(task))->action(task);
  return 77;  // the loop ignores it
}

class EventLoop : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(loop_, nullptr);
    ASSERT_EQ(pipe(pipe_), 0);
  }
  void TearDown() override {
    zv_host_destroy(loop_);
    close_end(0);
    close_end(1);
  }

  // Tasks that note their names, and do `action` then.
  zv_thread* event(
      const std::string& name, std::function<void()> action = [] {}) {
    return zv_thread_add_event_withname(loop_, run_work, work(name, action), 0, name.c_str());
  }
  zv_thread* timer(
      long seconds, const std::string& name, std::function<void()> action = [] {}) {
    return zv_thread_add_timer_withname(loop_, run_work, work(name, action), seconds, name.c_str());
  }
  zv_thread* read_of(
      int fd, const std::string& name, std::function<void()> action = [] {}) {
    return zv_thread_add_read_high_withname(loop_, run_work, work(name, action), fd, name.c_str());
  }
  // Of the pipe.
  zv_thread* read(
      const std::string& name, std::function<void()> action = [] {}) {
    return read_of(pipe_[0], name, action);
  }
  void make_readable() const { ASSERT_EQ(write(pipe_[1], "x", 1), 1); }
  void take_byte() const {
    char byte = 0;
    ASSERT_EQ(::read(pipe_[0], &byte, 1), 1);
  }
  void close_end(int end) {
    if (pipe_[end] >= 0) close(pipe_[end]);
    pipe_[end] = -1;
  }

  void run() { EXPECT_EQ(zv_host_run(loop_), 0); }
  void stop() { zv_host_stop(loop_); }
  std::size_t scheduled() const { return zv_host_scheduled(loop_, nullptr); }

  zv_thread_master* loop_ = zv_host_create();
  int pipe_[2] = {-1, -1};
  std::vector<std::string> ran_;

 private:
  Work* work(const std::string& name, std::function<void()> action) {
    works_.push_back(std::make_unique<Work>(Work{[this, name, action](zv_thread*) {
      ran_.push_back(name);
      action();
    }}));
    return works_.back().get();
  }

  std::vector<std::unique_ptr<Work>> works_;
};

}  // namespace test
