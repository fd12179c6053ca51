// An epoll loop. Other threads can post tasks to it.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "server/file_descriptor.h"

namespace aaa_sim {

class EventLoop {
 public:
  using Handler = std::function<void(std::uint32_t events)>;
  using Task = std::function<void()>;

  EventLoop();

  // Any thread. Tasks run on the loop's thread, in order.
  void post(Task task);

  // Until quit().
  void run();

  // On the loop's thread only, or while no thread runs the loop.
  void quit() { quit_ = true; }
  void watch(int fd, std::uint32_t events, Handler handler);
  void set_events(int fd, std::uint32_t events);
  // Call it before closing the descriptor.
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
