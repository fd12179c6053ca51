// Waiting for the result of one session: what ends the wait, and with which result.
#include <gmock/gmock.h>

#include "api/waiting_test.h"
#include "support/expected_line.h"
#include "support/lock_check.h"

namespace {

using test::published;
using test::result_of;
using test::ScriptedCalls;
using test::Scripts;

class ResultWait : public test::WaitingTest {
 protected:
  static constexpr char kName[] = "aaa_user_get_result";
};

// A word of the library with another value while it lives.
template <class Word>
class Replaced {
 public:
  Replaced(Word& word, Word value) : word_(word), before_(aaa::load(word)) {
    aaa::store(word_, value);
  }
  ~Replaced() { aaa::store(word_, before_); }
  Replaced(const Replaced&) = delete;
  Replaced& operator=(const Replaced&) = delete;

 private:
  Word& word_;
  Word before_;
};

TEST_F(ResultWait, ReturnsTheResultOfTheSession) {
  result_info record = {};
  record.sub.session_id = 9;
  record.sub.num_a = 3;
  record.reply_message = {0, 5, "hello"};
  deliver(test::encoded_result(record));
  ASSERT_EQ(0, wait_for(9));
  EXPECT_EQ(9u, result_->sub.session_id);
  EXPECT_EQ(3u, result_->sub.num_a);
  EXPECT_EQ(5u, result_->reply_message.len);
  EXPECT_STREQ("hello", static_cast<const char*>(result_->reply_message.value));
}

TEST_F(ResultWait, TheResultHoldsNoPointerIntoTheReleasedDatagram) {
  result_info record = {};
  record.sub.session_id = 9;
  record.item_318 = {0, 5, "first"};
  record.item_320 = {0, 5, "third"};
  deliver(test::encoded_result(record));
  ASSERT_EQ(0, wait_for(9));
  EXPECT_EQ(nullptr, result_->item_318.value);
  EXPECT_EQ(5, result_->item_318.len);
  EXPECT_EQ(nullptr, result_->item_319.value);
  EXPECT_EQ(0, result_->item_319.len);
  EXPECT_EQ(nullptr, result_->item_320.value);
  EXPECT_EQ(5, result_->item_320.len);
}

TEST_F(ResultWait, AResultThatItHandedOutIsEncodedWithZerosInTheirPlace) {
  result_info record = {};
  record.sub.session_id = 9;
  record.item_318 = {0, 5, "first"};
  deliver(test::encoded_result(record));
  ASSERT_EQ(0, wait_for(9));
  const std::string body = test::encoded_result(*result_);
  // Behind the fixed block, ten empty items and the header.
  EXPECT_EQ(test::hex("3e01 0500 0000000000 3f01 0000"), body.substr(1284 + 40, 13));
  EXPECT_EQ(1365u, body.size());
}

TEST_F(ResultWait, NeedsNoRegistrationAndLogsNothingOnSuccess) {
  const test::OpenGate gate;
  const test::LogCapture log;
  deliver(result_of(9));
  EXPECT_EQ(0, wait_for(9));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResultWait, TheSecondArgumentIsNotUsed) {
  for (const std::uint32_t unused : {0u, 9u, 0xffffffffu}) {
    deliver(result_of(9));
    result_info* result = nullptr;
    EXPECT_EQ(0, aaa_user_get_result(9, unused, 10, &result));
    result_.reset(result);
  }
}

TEST_F(ResultWait, TakesOneDatagram) {
  deliver(result_of(9));
  deliver(result_of(9));
  EXPECT_EQ(0, wait_for(9, 0));
  EXPECT_EQ(0, wait_for(9, 0));
  EXPECT_EQ(-22, wait_for(9, 0));
}

TEST_F(ResultWait, WithoutAPlaceForTheResultGivesMinus1AtOnce) {
  EXPECT_EQ(-1, aaa_user_get_result(9, 0, 10, nullptr));
}

TEST_F(ResultWait, BeforeThePairIsReadyGivesMinus1AtOnce) {
  const Replaced<std::uint8_t> not_ready(aaa::g_msg_socket_ok, 0);
  EXPECT_EQ(-1, wait_for(9));
}

TEST_F(ResultWait, WithoutAServerSocketGivesMinus1AtOnce) {
  for (const std::int32_t fd : {0, -1}) {
    const Replaced<std::int32_t> no_socket(lib_msg_server_fd, fd);
    EXPECT_EQ(-1, wait_for(9)) << fd;
  }
}

TEST_F(ResultWait, PublishesNothingWhenItGivesMinus1) {
  aaa::set_waiting_session(77);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-1, aaa_user_get_result(9, 0, 10, nullptr));
  EXPECT_EQ(77u, published());
  EXPECT_TRUE(log.lines().empty());
  aaa::set_waiting_session(0);
}

TEST_F(ResultWait, PublishesTheSessionIdWhileItWaits) {
  std::uint32_t seen = 0;
  const ScriptedCalls calls(waits_end({[&] {
    seen = published();
    return 0;
  }}));
  EXPECT_EQ(0u, published());
  wait_for(9);
  EXPECT_EQ(9u, seen);
}

TEST_F(ResultWait, HoldsNoLockWhileItWaits) {
  bool free = false;
  const ScriptedCalls calls(waits_end({[&] {
    free = test::is_free(aaa_lib_lock) && test::is_free(aaa::waiting_session_lock);
    return 0;
  }}));
  wait_for(9);
  EXPECT_TRUE(free);
}

TEST_F(ResultWait, WaitsAsLongAsAskedUpTo120Seconds) {
  const ScriptedCalls calls(waits_end({}));
  for (const std::uint32_t seconds : {0u, 1u, 119u, 120u, 121u, 500u, 0xffffffffu})
    EXPECT_EQ(-22, wait_for(9, seconds));
  EXPECT_THAT(timeouts(), testing::ElementsAre(0, 1000, 119000, 120000, 120000, 120000, 120000));
}

TEST_F(ResultWait, RunningOutOfTimeGivesMinus22AndALine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-22, wait_for(9, 0));
  test::expect_line(log, kName, "timeout, no result available.\r\n");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(ResultWait, ATimeoutOf0TakesWhatIsAlreadyThere) {
  deliver(result_of(9));
  EXPECT_EQ(0, wait_for(9, 0));
}

TEST_F(ResultWait, AFailedWaitGivesMinus22AndALine) {
  const ScriptedCalls calls(waits_end({with_error(ENOMEM)}));
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-22, wait_for(9));
  test::expect_line(log, kName, "select fail errno 12.\r\n");
  EXPECT_EQ(1u, timeouts().size());
}

TEST_F(ResultWait, ASocketThatIsNotOpenFailsTheWait) {
  const Replaced<std::int32_t> closed(lib_msg_server_fd, 1000000);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-22, wait_for(9));
  test::expect_line(log, kName, "select fail errno 9.\r\n");
}

TEST_F(ResultWait, NoMemoryForTheBufferGivesMinus12AndALine) {
  deliver(result_of(9));
  std::vector<std::size_t> sizes;
  const ScriptedCalls calls({.malloc = [&](std::size_t size) {
    sizes.push_back(size);
    return std::optional<void*>(nullptr);
  }});
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-12, wait_for(9));
  test::expect_line(log, kName, "out of memory.\r\n");
  EXPECT_THAT(sizes, testing::ElementsAre(4096u));
}

TEST_F(ResultWait, AReceiveErrorGivesMinus22AndALine) {
  deliver(result_of(9));
  Scripts scripts;
  scripts.recv = [](int, void*, std::size_t, int) {
    errno = ECONNREFUSED;
    return std::optional<ssize_t>(-1);
  };
  const ScriptedCalls calls(scripts);
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-22, wait_for(9));
  test::expect_line(log, kName, "recvfrom error\r\n");
}

TEST_F(ResultWait, AnEmptyDatagramIsAReceiveError) {
  deliver("");
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-22, wait_for(9));
  test::expect_line(log, kName, "recvfrom error\r\n");
}

TEST_F(ResultWait, ADatagramThatIsNoResultGivesMinus22AndALine) {
  deliver("nonsense");
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-22, wait_for(9));
  test::expect_line(log, kName, "parse error\r\n");
}

TEST_F(ResultWait, ALongerDatagramIsCutAt4096Bytes) {
  const std::string tail(5000, 't');
  result_info record = {};
  record.sub.session_id = 9;
  record.tail_len = 5000;
  record.tail_data = tail.data();
  deliver(test::encoded_result(record));
  std::size_t asked = 0;
  const ScriptedCalls calls({.recv = [&](int, void*, std::size_t size, int) {
    asked = size;
    return std::optional<ssize_t>();
  }});
  EXPECT_EQ(0, wait_for(9));
  EXPECT_EQ(4096u, asked);
  EXPECT_EQ(9u, result_->sub.session_id);
  EXPECT_EQ(-22, wait_for(9, 0)) << "the rest came as a datagram of its own";
}

TEST_F(ResultWait, NothingIsLoggedWhileTheGateIsClosed) {
  const test::LogCapture log;
  deliver("");
  deliver("nonsense");
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(-22, wait_for(9, 0));
  const ScriptedCalls calls(waits_end({with_error(ENOMEM)}));
  EXPECT_EQ(-22, wait_for(9));
  EXPECT_TRUE(log.lines().empty());
}

// Every way out, for what holds on all of them.
class WaysOut : public ResultWait {
 protected:
  void expect_clean(std::int32_t outcome, const std::string& datagram, Scripts scripts = {}) {
    if (!datagram.empty()) deliver(datagram);
    const test::LibraryCounters counters;
    {
      const ScriptedCalls calls(std::move(scripts));
      EXPECT_EQ(outcome, wait_for(9, 0));
    }
    EXPECT_EQ(0u, published());
    result_.reset();
    EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
  }
};

TEST_F(WaysOut, NobodyIsPublishedAndNoBlockIsLeft) {
  expect_clean(0, result_of(9));
  expect_clean(-22, "");
  expect_clean(-22, "nonsense");
  expect_clean(-22, "", waits_end({with_error(ENOMEM)}));
  expect_clean(-22, "", waits_end({with_error(EINTR)}));
  expect_clean(-12, result_of(9),
               {.malloc = [](std::size_t) { return std::optional<void*>(nullptr); }});
  expect_clean(-22, "x",
               {.recv = [](int, void*, std::size_t, int) { return std::optional<ssize_t>(0); }});
}

}  // namespace
