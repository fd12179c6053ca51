#include "soak/stub_test.h"

#include <sys/socket.h>

#include "runtime/receive/receive_thread.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "soak/short_timeouts.h"
#include "support/lock_check.h"

namespace soak {
namespace {

int request_socket() {
  return aaa::load(g_aaa_client_cb.sync_fd);
}

void make_buffer_small() {
  const int smallest = 1;
  ::setsockopt(request_socket(), SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest);
}

void fill_buffer() {
  const char rubbish[512] = {};
  while (::send(request_socket(), rubbish, sizeof rubbish, MSG_DONTWAIT | MSG_NOSIGNAL) > 0) {
  }
}

bool keeps_waiting(Manner manner) {
  switch (manner) {
    case Manner::never_reads:
    case Manner::never_writes:
    case Manner::stops_in_header:
    case Manner::stops_in_body:
    case Manner::other_socket:
      return true;
    default:
      return false;
  }
}

}  // namespace

void StubTest::TearDown() {
  end();
  WatchedTest::TearDown();
}

void StubTest::begin() {
  clock_.emplace();
  clock_->shorten_sleeps();
  test::Scripts scripts = let_time_pass(*clock_, time_passes_);
  scripts.pthread_create = [this]() -> std::optional<int> {
    thread_start_ = test::library_seconds();
    return {};
  };
  scripts_.emplace(std::move(scripts));
  aaad_.emplace(directory(), answers_to_exchanges(), [this] { clock_->advance(1); });
}

void StubTest::behave(Manner manner) {
  aaad_->behave(manner);
  time_passes_ = keeps_waiting(manner);
}

void StubTest::end() {
  time_passes_ = false;
  test::stop_library();
  aaad_.reset();
  scripts_.reset();
  clock_.reset();
}

void StubTest::register_client(Manner manner) {
  const reg_info info = test::client("stub");
  ASSERT_EQ(0, aaa_svr_reg(&info));
  ASSERT_EQ(1, aaa_is_alive());
  make_buffer_small();
  behave(manner);
  if (manner == Manner::never_reads) fill_buffer();
}

void StubTest::expect_library_in_order() {
  for (pthread_mutex_t* const lock :
       {&aaa_lib_lock, &aaa_lib_send_buf_lock, &aaa::waiting_session_lock, &aaa::request_write_lock,
        &aaa::event_write_lock})
    EXPECT_TRUE(test::eventually([lock] { return test::is_free(*lock); })) << "a lock is held";
  behave(Manner::good);
  if (!aaa::receive_thread_exists()) return;
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; }));
  EXPECT_TRUE(test::eventually([] { return aaa_mlist_existed(1, 2, 3, "login") == 42; }));
}

}  // namespace soak
