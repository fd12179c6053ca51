#include "support/library_test.h"
#include "support/locked_state.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "api/session_ids.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/local_delivery.h"
#include "runtime/send/send_buffer.h"
#include "transport/debug_log.h"
#include "transport/read_ahead.h"

namespace test {
namespace {

std::mutex events_lock;
std::vector<std::uint32_t> events;

int note_event(std::uint32_t event) {
  const std::lock_guard<std::mutex> hold(events_lock);
  events.push_back(event);
  return 0;
}

void forget_events() {
  const std::lock_guard<std::mutex> hold(events_lock);
  events.clear();
}

void drop_answers_read_ahead() {
  const aaa::ScopedLock lock(aaa_lib_lock);
  aaa::request_read_ahead.clear();
}

void reset_library_state() {
  drop_answers_read_ahead();
  test::store_callbacks({});
  test::set_model_name("");
  g_aaalib_process_name[0] = '\0';
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  aaa::store(g_aaa_client_cb.async_fd, -1);
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  test::set_reg_state(AAA_REG_NOT_REGISTERED);
  aaa::store_status({});
  aaa::store(aaa::g_aaalib_debug_count_curr, std::uint16_t{0});
  aaa::g_session_id = 0;
  aaa::g_session_id_max = 0;
  aaa::set_waiting_session(0);
  g_aaa_msg_stat = {};
}

bool threads_are_gone() {
  return !aaa::receive_thread_exists() && !aaa::send_buffer_is_used();
}

}  // namespace

reg_info client(const std::string& model_name) {
  reg_info info = {};
  model_name.copy(info.model_name, sizeof info.model_name - 1);
  info.aaa_event_cb = note_event;
  return info;
}

reg_info batching_client() {
  reg_info info = client();
  info.use_send_buf = 1;
  return info;
}

std::vector<std::uint32_t> client_events() {
  const std::lock_guard<std::mutex> hold(events_lock);
  return events;
}

std::size_t times_told(std::uint32_t event) {
  const std::vector<std::uint32_t> all = client_events();
  return static_cast<std::size_t>(std::count(all.begin(), all.end(), event));
}

bool wait_for_event(std::uint32_t event, std::size_t times) {
  return eventually([&] { return times_told(event) >= times; });
}

void stop_library() {
  aaa_svr_dereg();
  if (threads_are_gone()) return;
  // The receive thread is looking for an aaad. It ends when it finds the client deregistered.
  MovedClock clock;
  clock.shorten_sleeps();
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  EXPECT_TRUE(eventually([] { return !aaa::receive_thread_exists(); })) << "receive thread stays";
  aaa::aaalib_stop_send_buf_thread();
  // A client that is deregistered when the loss is noticed keeps its sockets.
  aaa_lib_client_close();
}

LibraryTest::LibraryTest() {
  setenv("TMPDIR", directory_.path().c_str(), 1);
  reset_library_state();
  forget_events();
}

void LibraryTest::TearDown() {
  stop_library();
}

LibraryTest::~LibraryTest() {
  leaks_.expect_nothing_left(blocks_left_);
  reset_library_state();
  unsetenv("TMPDIR");
}

void SimulatedTest::SetUp() {
  sim_.start();
}

void SimulatedTest::TearDown() {
  stop_library();
  sim_.stop();
}

void SimulatedTest::register_client(const reg_info& info) {
  ASSERT_EQ(0, aaa_svr_reg(&info));
  ASSERT_EQ(1, aaa_is_alive());
}

}  // namespace test
