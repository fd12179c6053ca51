// Messages about aaad itself: 102, 106, 122, 132, and the client events.
#include "dispatch_test.h"
#include "transport/debug_log.h"

namespace test {
namespace {

Bytes status_words() {
  return bytes_of(&g_aaa_status, sizeof g_aaa_status);
}

int note_event(std::uint32_t event) {
  note_unlocked(words({event}));
  return 0;
}

class StatusMessages : public DispatchTest {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    reg_info info = {};
    info.aaa_event_cb = note_event;
    use(info);
  }
};

TEST_F(StatusMessages, TheFirst40BytesAreTheStatusRecord) {
  const Bytes body = words({11, 12, 13, 0, 15, 16, 17, 18, 19, 20});
  deliver(102, body + Bytes(8, 0xff));
  ASSERT_EQ(40u, sizeof g_aaa_status);
  EXPECT_EQ(body, status_words());
}

TEST_F(StatusMessages, AStatusOf40BytesIsEnough) {
  const Bytes body = words({11, 12, 13, 0, 15, 16, 17, 18, 19, 20});
  deliver(102, body);
  EXPECT_EQ(body, status_words());
}

TEST_F(StatusMessages, AStatusOf39BytesIsDropped) {
  deliver(102, Bytes(39, 1));
  EXPECT_EQ(Bytes(40, 0), status_words());
  EXPECT_TRUE(noted().empty());
}

TEST_F(StatusMessages, EachWatchedWordHasItsEvent) {
  constexpr std::uint32_t words_and_events[4][2] = {{2, 4}, {1, 5}, {7, 6}, {8, 7}};
  for (const auto& [word, event] : words_and_events) {
    noted().clear();
    Bytes body = status_words();
    body[4 * word] = static_cast<std::uint8_t>(body[4 * word] + 1);
    deliver(102, body);
    EXPECT_EQ(once(words({event})), noted());
  }
}

TEST_F(StatusMessages, TheEventsOfOneMessageComeInOrder) {
  deliver(102, words({0, 1, 1, 0, 0, 0, 0, 1, 1, 0}));
  EXPECT_EQ((std::vector<Bytes>{words({4}), words({5}), words({6}), words({7})}), noted());
}

TEST_F(StatusMessages, TheOtherWordsHaveNoEvent) {
  deliver(102, words({1, 0, 0, 0, 1, 1, 1, 0, 0, 1}));
  EXPECT_TRUE(noted().empty());
}

TEST_F(StatusMessages, AnUnchangedStatusHasNoEvent) {
  const Bytes body = words({1, 2, 3, 0, 5, 6, 7, 8, 9, 10});
  deliver(102, body);
  noted().clear();
  deliver(102, body);
  EXPECT_TRUE(noted().empty());
}

TEST_F(StatusMessages, TheRecordIsInPlaceWhenTheEventIsRaised) {
  reg_info info = {};
  info.aaa_event_cb = [](std::uint32_t) {
    note(status_words());
    return 0;
  };
  use(info);
  const Bytes body = words({1, 2, 0, 0, 5, 6, 7, 0, 0, 10});
  deliver(102, body);
  EXPECT_EQ(once(body), noted());
}

TEST_F(StatusMessages, TheStatusIsStoredWithoutALock) {
  use({});
  EXPECT_TRUE(needs_no_lock([] { deliver(102, words({1, 2, 3, 0, 5, 6, 7, 8, 9, 10})); }));
}

class DebugMessages : public StatusMessages {
 protected:
  void SetUp() override {
    StatusMessages::SetUp();
    set(0, 77, 5);
  }
  static void set(std::uint32_t enable, std::uint32_t limit, std::uint16_t count) {
    aaa::store(g_aaa_status.debug, enable);
    aaa::store(g_aaa_status.debug_msg_limit, limit);
    aaa::store(aaa::g_aaalib_debug_count_curr, count);
  }
  static void expect(std::uint32_t enable, std::uint32_t limit, std::uint16_t count) {
    EXPECT_EQ(enable, g_aaa_status.debug);
    EXPECT_EQ(limit, g_aaa_status.debug_msg_limit);
    EXPECT_EQ(count, aaa::g_aaalib_debug_count_curr);
  }
};

TEST_F(DebugMessages, TheSwitchAndTheLimitAreSetAndTheCountStartsAnew) {
  deliver(106, words({1, 500}));
  expect(1, 500, 0);
  set(1, 500, 0);
  deliver(106, words({0, 9}));
  expect(0, 9, 0);
}

TEST_F(DebugMessages, ALimitOf65534Stays) {
  deliver(106, words({0, 65534}));
  expect(0, 65534, 0);
}

TEST_F(DebugMessages, ALimitAbove65534Becomes1000) {
  for (const std::uint32_t limit : {65535u, 65536u, 0xffffffffu}) {
    deliver(106, words({0, limit}));
    expect(0, 1000, 0);
  }
}

TEST_F(DebugMessages, ALimitOfZeroStays) {
  deliver(106, words({0, 0}));
  expect(0, 0, 0);
}

TEST_F(DebugMessages, ASwitchAboveOneChangesNothing) {
  for (const std::uint32_t enable : {2u, 0xffffffffu, 0x100u}) {
    deliver(106, words({enable, 500}));
    expect(0, 77, 5);
  }
}

TEST_F(DebugMessages, SevenBytesAreTooShort) {
  deliver(106, Bytes(7, 1));
  expect(0, 77, 5);
}

TEST_F(StatusMessages, AMethodListChangeIsEvent3WhateverItsBody) {
  deliver(122);
  deliver(122, Bytes(5, 0xff));
  EXPECT_EQ((std::vector<Bytes>{words({3}), words({3})}), noted());
}

TEST_F(StatusMessages, AHeartbeatIsNotedAndNotAnswered) {
  for (const Bytes& body : {Bytes(), Bytes(3, 0xff)}) {
    aaa::store(aaalib_hbt_last_recv, 0U);
    const std::uint32_t before = library_seconds();
    deliver(132, body);
    EXPECT_GE(aaalib_hbt_last_recv, before);
    EXPECT_LE(aaalib_hbt_last_recv, library_seconds());
  }
  EXPECT_EQ(Bytes(), answers());
}

TEST_F(StatusMessages, AHeartbeatNeedsNoLock) {
  EXPECT_TRUE(needs_no_lock([] { deliver(132); }));
}

TEST(ClientEvents, TheCallbacksResultIsHandedBack) {
  aaa::store(g_aaa_client_cb.aaa_event_cb,
             aaa_event_fn([](std::uint32_t event) { return static_cast<int>(event) * 10; }));
  EXPECT_EQ(70, aaa_lib_notify_aaa_event(7));
  aaa::store(g_aaa_client_cb.aaa_event_cb, aaa_event_fn(nullptr));
}

TEST(ClientEvents, WithoutACallbackTheEventIsHandedBack) {
  EXPECT_EQ(7, aaa_lib_notify_aaa_event(7));
  EXPECT_EQ(0, aaa_lib_notify_aaa_event(0));
}

TEST(ClientEvents, NoLockIsTaken) {
  EXPECT_TRUE(needs_no_lock([] { aaa_lib_notify_aaa_event(7); }));
}

}  // namespace
}  // namespace test
