#include "support/registered_test.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <thread>

#include "transport/base/cancellation.h"

namespace test {

void pause_in_script() {
  const aaa::CancellationScope uncancelled(PTHREAD_CANCEL_DISABLE);
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

RegisteredTest::RegisteredTest() {
  clock_.shorten_sleeps();
  sim_.change([](Settings& settings) { settings.answer_heartbeats = false; });
}

void RegisteredTest::open_gate_for_clients() {
  sim_.change([](Settings& settings) { settings.status.debug = 1; });
}

void RegisteredTest::set_listening(bool listening) {
  sim_.change([listening](Settings& settings) { settings.listening = listening; });
}

void RegisteredTest::nudge() {
  send(AAA_MSG_MLIST_CHANGE);
}

void RegisteredTest::take_pass() {
  const std::size_t before = times_told(AAA_EVENT_METHOD_LISTS_CHANGED);
  nudge();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED, before + 1));
}

pid_t RegisteredTest::receive_thread() {
  std::vector<pid_t> threads;
  EXPECT_TRUE(eventually([&] {
    threads = threads_named(receive_thread_name());
    return threads.size() == 1;
  })) << "receive threads: "
      << threads.size();
  return threads.size() == 1 ? threads[0] : 0;
}

bool RegisteredTest::receive_thread_is_gone() {
  return eventually([] { return threads_named(receive_thread_name()).empty(); });
}

void RegisteredTest::send(std::uint32_t type, const std::string& body, std::uint32_t id) {
  ASSERT_EQ(1u, sim_.send_message({}, Role::event, type, id, view(body)));
}

Scripts RegisteredTest::next_wait_fails(int error) {
  return {.poll = failing_at(1, error)};
}

Scripts RegisteredTest::next_read_fails(int error, std::size_t bytes_before) {
  enum Step { some_bytes, failure, all_else };
  const auto step = std::make_shared<std::atomic<int>>(bytes_before > 0 ? some_bytes : failure);
  Scripts scripts;
  scripts.recv = [=, fd = event_socket()](int given, void* data, std::size_t,
                                          int) -> std::optional<ssize_t> {
    if (given != fd || *step == all_else) return std::nullopt;
    if ((*step)++ == some_bytes) return ::read(given, data, bytes_before);
    errno = error;
    return -1;
  };
  return scripts;
}

}  // namespace test
