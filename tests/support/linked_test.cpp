#include "support/linked_test.h"
#include "support/locked_state.h"

#include <cerrno>

#include "runtime/send/send_buffer.h"

namespace test {

void LinkedTest::SetUp() {
  LibraryTest::SetUp();
  test::set_model_name("test");
  aaa::store(g_aaa_client_cb.sync_fd, link_.own());
  test::set_reg_state(AAA_REG_REGISTERED);
  script({});
}

void LinkedTest::TearDown() {
  scripts_.reset();
  test::set_reg_state(AAA_REG_NOT_REGISTERED);
  LibraryTest::TearDown();
}

void LinkedTest::script(Scripts scripts) {
  scripts.send = [this](int fd, const void* data, std::size_t size, int flags) {
    return write(fd, data, size, flags);
  };
  scripts_.reset();
  scripts_.emplace(std::move(scripts));
}

const std::string& LinkedTest::only_write() const {
  static const std::string none;
  EXPECT_EQ(1u, writes_.size());
  return writes_.empty() ? none : writes_.front();
}

std::optional<ssize_t> LinkedTest::write(int fd, const void* data, std::size_t size, int flags) {
  if (fd != link_.own()) return std::nullopt;
  writes_.emplace_back(static_cast<const char*>(data), size);
  write_flags_ = flags;
  during_write_();
  if (!answers_.empty()) {
    link_.peer_writes(answers_.front());
    answers_.pop_front();
  }
  if (write_error_ == 0) return static_cast<ssize_t>(size);
  errno = write_error_;
  write_error_ = 0;
  return -1;
}

QueueInUse::QueueInUse() {
  aaa_lib_send_buf_init();
  aaa_lib_send_buf_reset();
  aaa::store(g_send_buf_tid, pthread_self());
}

QueueInUse::~QueueInUse() {
  aaa::store(g_send_buf_tid, pthread_t{0});
  aaa_lib_send_buf_reset();
}

std::string QueueInUse::held() {
  return {reinterpret_cast<const char*>(aaalib_send_buf.body), aaalib_send_buf.header.length};
}

}  // namespace test
