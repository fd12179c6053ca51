// One epoll loop, with tasks from other threads.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "file_descriptor.h"

namespace aaa_sim {

class EventLoop {
 public:
  using Handler = std::function<void(std::uint32_t events)>;
  using Task = std::function<void()>;

  EventLoop();

  // Any thread. The task runs on the loop's thread, after those posted before.
  void post(Task task);

  // Returns after quit().
  void run();

  // The loop's thread only, or while no thread runs it.
  void quit() { quit_ = true; }
  void watch(int fd, std::uint32_t events, Handler handler);
  void set_events(int fd, std::uint32_t events);
  // Before the descriptor is closed.
  void forget(int fd);

 private:
  void run_tasks();

  FileDescriptor epoll_;
  FileDescriptor wake_;
  std::unordered_map<int, Handler> handlers_;
  bool quit_ = false;

  std::mutex mutex_;
  std::vector<Task> tasks_;  // guarded by mutex_
};

}  // namespace aaa_sim
