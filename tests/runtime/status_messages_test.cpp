// Messages about aaad itself: 102, 106, 122, 132, and the client events.
#include "runtime/dispatch_test.h"
#include "transport/debug_log.h"

namespace test::status_messages {

std::string status_words() {
  return bytes_of(&g_aaa_status, sizeof g_aaa_status);
}
std::string event(std::uint32_t number) {
  return "event " + word_bytes({number});
}

class StatusMessages : public DispatchTest {};

TEST_F(StatusMessages, TheFirst40BytesAreTheStatusRecordWhichIsInPlaceWhenTheEventIsRaised) {
  ASSERT_EQ(40u, sizeof g_aaa_status);
  const std::string body = word_bytes({11, 12, 13, 0, 15, 16, 17, 18, 19, 20});
  std::string at_event;
  in_callback([&](const std::string&) { at_event = status_words(); });
  deliver(102, body + std::string(8, '\xff'));
  EXPECT_EQ(body, at_event);
  EXPECT_EQ(body, status_words());
  const std::string other = word_bytes({1, 2, 3, 0, 5, 6, 7, 8, 9, 10});
  deliver(102, other);
  EXPECT_EQ(other, status_words());
  EXPECT_THAT(told_by(102, other), IsEmpty()) << "no event of an unchanged status";
}

TEST_F(StatusMessages, AStatusOf39BytesIsDropped) {
  expect_dropped(102, std::string(39, '\1'));
  EXPECT_EQ(zeros(40), status_words());
}

TEST_F(StatusMessages, EachWatchedWordHasItsEventAndTheyComeInOrder) {
  constexpr std::uint32_t words_and_events[4][2] = {{2, 4}, {1, 5}, {7, 6}, {8, 7}};
  for (const auto& [word, number] : words_and_events) {
    std::string body = status_words();
    ++body[4 * word];
    EXPECT_THAT(told_by(102, body), ElementsAre(event(number)));
  }
  EXPECT_THAT(told_by(102, word_bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 0})),
              ElementsAre(event(4), event(5), event(6), event(7)));
  EXPECT_THAT(told_by(102, word_bytes({1, 0, 0, 0, 1, 1, 1, 0, 0, 1})), IsEmpty()) << "the others";
}

TEST_F(StatusMessages, TheStatusAndAHeartbeatNeedNoLock) {
  use({});
  EXPECT_TRUE(returns_under_locks(2, [] {
    deliver(102, word_bytes({1, 2, 3, 0, 5, 6, 7, 8, 9, 10}));
  }));
  EXPECT_TRUE(returns_under_locks(2, [] { deliver(132); }));
}

struct Debug {
  std::uint32_t enable;
  std::uint32_t limit;
  std::uint16_t count;

  bool operator==(const Debug&) const = default;
};

TEST_F(StatusMessages, TheDebugSwitchAndTheLimitAreSetAndTheCountStartsAnew) {
  const Debug before = {0, 77, 5};
  const std::pair<std::string, Debug> bodies[] = {
      {word_bytes({1, 500}), {1, 500, 0}},     {word_bytes({0, 9}), {0, 9, 0}},
      {word_bytes({0, 65534}), {0, 65534, 0}}, {word_bytes({0, 65535}), {0, 1000, 0}},
      {word_bytes({0, 65536}), {0, 1000, 0}},  {word_bytes({0, 0xffffffff}), {0, 1000, 0}},
      {word_bytes({0, 0}), {0, 0, 0}},         {word_bytes({2, 500}), before},
      {word_bytes({0xffffffff, 500}), before}, {word_bytes({0x100, 500}), before},
      {std::string(7, '\1'), before},
  };
  for (const auto& [body, after] : bodies) {
    aaa::store(g_aaa_status.debug, before.enable);
    aaa::store(g_aaa_status.debug_msg_limit, before.limit);
    aaa::store(aaa::g_aaalib_debug_count_curr, before.count);
    deliver(106, body);
    EXPECT_EQ(after, (Debug{g_aaa_status.debug, g_aaa_status.debug_msg_limit,
                            aaa::g_aaalib_debug_count_curr}))
        << testing::PrintToString(body);
  }
}

TEST_F(StatusMessages, AMethodListChangeIsEvent3WhateverItsBody) {
  deliver(122);
  deliver(122, std::string(5, '\xff'));
  EXPECT_THAT(noted(), ElementsAre(event(3), event(3)));
}

TEST_F(StatusMessages, AHeartbeatIsNotedAndNotAnswered) {
  for (const std::string& body : {std::string(), std::string(3, '\xff')}) {
    aaa::store(aaalib_hbt_last_recv, 0U);
    const std::uint32_t before = library_seconds();
    deliver(132, body);
    EXPECT_GE(aaalib_hbt_last_recv, before);
    EXPECT_LE(aaalib_hbt_last_recv, library_seconds());
  }
  EXPECT_EQ("", answers());
}

TEST_F(StatusMessages, AnEventHandsBackTheCallbacksResultOrItselfWithoutALock) {
  reg_info info = {};
  info.aaa_event_cb = [](std::uint32_t number) { return static_cast<int>(number) * 10; };
  use(info);
  EXPECT_EQ(70, aaa_lib_notify_aaa_event(7));
  use({});
  EXPECT_EQ(7, aaa_lib_notify_aaa_event(7));
  EXPECT_EQ(0, aaa_lib_notify_aaa_event(0));
  EXPECT_TRUE(returns_under_locks(2, [] { aaa_lib_notify_aaa_event(7); }));
}

}  // namespace test::status_messages
