#include "server/event_loop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace aaa_sim {

EventLoop::EventLoop()
    : epoll_(checked(::epoll_create1(EPOLL_CLOEXEC), "epoll")),
      wake_(checked(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), "eventfd")) {
  watch(wake_.get(), EPOLLIN, [this](std::uint32_t) { run_tasks(); });
}

void EventLoop::post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  ::eventfd_write(wake_.get(), 1);
}

void EventLoop::run() {
  while (!quit_) {
    // One event at a time: a handler may close any descriptor, also one with a pending event.
    epoll_event event{};
    if (::epoll_wait(epoll_.get(), &event, 1, -1) != 1) continue;
    const auto found = handlers_.find(event.data.fd);
    if (found == handlers_.end()) continue;
    const Handler handler = found->second;  // a copy: it may call forget()
    handler(event.events);
  }
}

void EventLoop::watch(int fd, std::uint32_t events, Handler handler) {
  epoll_event event{.events = events, .data = {.fd = fd}};
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0)
    throw std::system_error(errno, std::generic_category(), "epoll");
  handlers_[fd] = std::move(handler);
}

void EventLoop::set_events(int fd, std::uint32_t events) {
  epoll_event event{.events = events, .data = {.fd = fd}};
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &event);
}

void EventLoop::forget(int fd) {
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);
  handlers_.erase(fd);
}

void EventLoop::run_tasks() {
  eventfd_t posted;
  ::eventfd_read(wake_.get(), &posted);
  std::vector<Task> tasks;
  {
    const std::lock_guard lock(mutex_);
    tasks.swap(tasks_);
  }
  for (const Task& task : tasks)
    task();
}

}  // namespace aaa_sim
