// Waiting for the result of one session: what ends the wait, and with which result.
#include <gmock/gmock.h>

#include "api/waiting_test.h"

namespace test {
namespace {

class ResultWait : public WaitingTest {
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

TEST_F(ResultWait, ReturnsTheResultOfTheSessionWithoutAPointerIntoTheReleasedDatagram) {
  result_info record = {};
  record.sub.session_id = 9;
  record.sub.num_a = 3;
  record.reply_message = {0, 5, "hello"};
  record.item_318 = {0, 5, "first"};
  record.item_320 = {0, 5, "third"};
  deliver(encoded_body(aaa_encap_result_info, record));
  ASSERT_EQ(0, wait_for(9));
  EXPECT_EQ(9u, result_->sub.session_id);
  EXPECT_EQ(3u, result_->sub.num_a);
  EXPECT_EQ(5u, result_->reply_message.len);
  EXPECT_STREQ("hello", static_cast<const char*>(result_->reply_message.value));
  EXPECT_EQ(nullptr, result_->item_318.value);
  EXPECT_EQ(5, result_->item_318.len);
  EXPECT_EQ(nullptr, result_->item_319.value);
  EXPECT_EQ(0, result_->item_319.len);
  EXPECT_EQ(nullptr, result_->item_320.value);
  EXPECT_EQ(5, result_->item_320.len);
  const std::string body = encoded_body(aaa_encap_result_info, *result_);
  // Behind the fixed block, the message and ten headers: zeros stand in their place.
  EXPECT_EQ(hex("3e01 0500 0000000000 3f01 0000 4001 0500 0000000000"),
            body.substr(1284 + 40 + 5, 22));
  EXPECT_EQ(1360u + 5 + 5 + 5, body.size());
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

TEST_F(ResultWait, BeforeThePairIsReadyOrWithoutAServerSocketGivesMinus1AtOnce) {
  {
    const Replaced<std::uint8_t> not_ready(aaa::g_msg_socket_ok, 0);
    EXPECT_EQ(-1, wait_for(9));
  }
  for (const std::int32_t fd : {0, -1}) {
    const Replaced<std::int32_t> no_socket(lib_msg_server_fd, fd);
    EXPECT_EQ(-1, wait_for(9)) << fd;
  }
}

TEST_F(ResultWait, WithoutAPlaceForTheResultGivesMinus1AndPublishesNothing) {
  aaa::set_waiting_session(77);
  const OpenLog log;
  EXPECT_EQ(-1, aaa_user_get_result(9, 0, 10, nullptr));
  EXPECT_EQ(77u, published());
  EXPECT_TRUE(log.lines().empty());
  aaa::set_waiting_session(0);
}

TEST_F(ResultWait, PublishesTheSessionIdAndHasNoLockWhileItWaits) {
  std::uint32_t seen = 0;
  bool free = false;
  const ScriptedCalls calls(waits_end({[&] {
    seen = published();
    free = is_free(aaa_lib_lock) && is_free(aaa::waiting_session_lock);
    return 0;
  }}));
  EXPECT_EQ(0u, published());
  wait_for(9);
  EXPECT_EQ(9u, seen);
  EXPECT_TRUE(free);
}

TEST_F(ResultWait, WaitsAsLongAsAskedUpTo120Seconds) {
  const ScriptedCalls calls(waits_end({}));
  for (const std::uint32_t seconds : {0u, 1u, 119u, 120u, 121u, 500u, 0xffffffffu})
    EXPECT_EQ(-22, wait_for(9, seconds));
  EXPECT_THAT(timeouts(), ElementsAre(0, 1000, 119000, 120000, 120000, 120000, 120000));
}

TEST_F(ResultWait, ALongerDatagramIsCutAt4096Bytes) {
  const std::string tail(5000, 't');
  result_info record = {};
  record.sub.session_id = 9;
  record.tail_len = 5000;
  record.tail_data = tail.data();
  deliver(encoded_body(aaa_encap_result_info, record));
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

// How a wait ends: with which outcome and which line, whatever has arrived.
struct WayOut {
  std::string name;
  std::int32_t outcome;
  std::string line;
  std::optional<std::string> datagram = {};
  Scripts scripts = {};
};

TEST_F(ResultWait, EveryEndWritesItsLinePublishesNobodyAndLeavesNoBlock) {
  const auto no_memory = [](std::size_t size) {
    EXPECT_EQ(4096u, size);
    return std::optional<void*>(nullptr);
  };
  const auto recv_returns = [](ssize_t result) -> Scripts {
    return {.recv = [=](int, void*, std::size_t, int) {
      errno = ECONNREFUSED;
      return std::optional<ssize_t>(result);
    }};
  };
  int polls = 0;
  const auto poll_fails = [&](int, int) {
    ++polls;
    return std::optional<int>(fails(ENOMEM));
  };
  const WayOut ways[] = {
      {"the result", 0, "", result_of(9)},
      {"no result in time", -22, "timeout, no result available.\r\n"},
      {"a failed wait", -22, "select fail errno 12.\r\n", {}, {.poll = poll_fails}},
      {"no memory", -12, "out of memory.\r\n", result_of(9), {.malloc = no_memory}},
      {"a failed receive", -22, "recvfrom error\r\n", result_of(9), recv_returns(-1)},
      {"a receive of nothing", -22, "recvfrom error\r\n", "x", recv_returns(0)},
      {"an empty datagram", -22, "recvfrom error\r\n", ""},
      {"no result in it", -22, "parse error\r\n", "nonsense"},
  };
  for (const auto& way : ways) {
    SCOPED_TRACE(way.name);
    const LibraryCounters counters;
    const auto wait = [&](std::uint32_t seconds) {
      if (way.datagram) deliver(*way.datagram);
      const ScriptedCalls calls(way.scripts);
      EXPECT_EQ(way.outcome, wait_for(9, seconds));
    };
    const LogCapture closed;
    wait(0);
    EXPECT_TRUE(closed.lines().empty());
    const OpenLog log;
    wait(way.datagram || way.scripts.poll ? 10 : 0);
    if (way.line.empty()) {
      EXPECT_TRUE(log.lines().empty());
    } else {
      log.expect_only(kName, way.line);
    }
    EXPECT_EQ(0u, published());
    result_.reset();
    forget_datagrams();
    EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
  }
  EXPECT_EQ(2, polls) << "one in each of the two waits";
}

TEST_F(ResultWait, AnInterruptionThatUsesUpTheTimePublishesNobody) {
  const LibraryCounters counters;
  const ScriptedCalls calls(waits_end({with_error(EINTR)}));
  EXPECT_EQ(-22, wait_for(9, 0));
  EXPECT_EQ(0u, published());
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_F(ResultWait, ASocketThatIsNotOpenFailsTheWait) {
  const Replaced<std::int32_t> closed(lib_msg_server_fd, 1000000);
  const OpenLog log;
  EXPECT_EQ(-22, wait_for(9));
  log.expect(kName, "select fail errno 9.\r\n");
}

}  // namespace
}  // namespace test
