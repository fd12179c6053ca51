// The debug gate with its rate limit, and the shape of a line.
#include "transport/debug_log.h"
#include "support/locked_state.h"

#include "support/library_test.h"

namespace test::debug_log {

constexpr char kLine[] = "already unregistered or not registered or is connecting!\r\n";

class DebugLog : public LibraryTest {
 protected:
  static void allow(std::uint32_t lines) { aaa::store(g_aaa_status.debug_msg_limit, lines); }
  static void set_count(std::uint16_t count) { aaa::store(aaa::g_aaalib_debug_count_curr, count); }
  static std::uint32_t count() { return aaa::g_aaalib_debug_count_curr; }
  // A debug line of the library.
  static void write_line() { aaa_is_alive(); }

  LogCapture log_;
};

TEST_F(DebugLog, AClosedGateKeepsLinesBackAndCountsNothing) {
  write_line();
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_EQ(0u, count());
}

TEST_F(DebugLog, TheSwitchIsTestedBeforeTheLimit) {
  allow(1);
  set_count(1);
  write_line();
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_EQ(1u, count());
  EXPECT_EQ(1u, g_aaa_status.debug_msg_limit);
}

TEST_F(DebugLog, AnOpenGateLetsLinesThroughAndCountsThem) {
  aaa_set_debug_switch(1);
  write_line();
  EXPECT_EQ(1u, log_.count(kLine));
  EXPECT_EQ(1u, count());
  aaa::store(g_aaa_status.debug, 7U);
  write_line();
  EXPECT_EQ(2u, log_.count(kLine)) << "any value but zero is on";
  EXPECT_EQ(2u, count());
}

TEST_F(DebugLog, NothingIsEvaluatedWhileTheGateIsClosed) {
  int evaluations = 0;
  const auto evaluate = [&] { return ++evaluations; };
  AAA_DEBUG_LOG("%d\r\n", evaluate());
  EXPECT_EQ(0, evaluations);
  aaa_set_debug_switch(1);
  AAA_DEBUG_LOG("%d\r\n", evaluate());
  EXPECT_EQ(1, evaluations);
}

TEST_F(DebugLog, TheSwitchTakesZeroAndOneOnly) {
  constexpr std::uint32_t given_and_then[][2] = {{1, 1}, {2, 1}, {0xFFFFFFFF, 1}, {0, 0}, {2, 0}};
  for (const auto& [given, then] : given_and_then) {
    aaa_set_debug_switch(given);
    EXPECT_EQ(then, g_aaa_status.debug) << given;
  }
}

TEST_F(DebugLog, ALimitOf3Lets3PassRefusesTheFourthAndIs1000ThenOn) {
  allow(3);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(1, aaalib_debug_num_check());
  EXPECT_EQ(3u, count());
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_EQ(0, aaalib_debug_num_check());
  EXPECT_EQ(1u, log_.lines().size());
  EXPECT_EQ(0u, count());
  EXPECT_EQ(1000u, g_aaa_status.debug_msg_limit);
  EXPECT_EQ(1, aaalib_debug_num_check());
  EXPECT_EQ(1u, count());
}

TEST_F(DebugLog, ALimitBelowTheCountRefuses) {
  allow(3);
  set_count(100);
  EXPECT_EQ(0, aaalib_debug_num_check());
  EXPECT_EQ(0u, count());
}

TEST_F(DebugLog, ARefusedLineIsReplacedByANoticeThatNoGateHoldsBack) {
  aaa_set_debug_switch(1);
  allow(1);
  write_line();
  write_line();
  EXPECT_EQ(1u, log_.count(kLine));
  ASSERT_EQ(2u, log_.lines().size());
  const LogLine line = log_.lines().back();
  EXPECT_EQ("AAA LIB [%5d][%30.30s] AAALIB debug msg num exceed limit, auto stop!\r\n",
            line.format);
  expect_ungated(line, ungated_text("aaalib_debug_num_check",
                                    "AAALIB debug msg num exceed limit, auto stop!\r\n"));
}

TEST_F(DebugLog, WithoutALimitNothingIsRefused) {
  allow(0);
  set_count(65535);
  for (int i = 0; i < 70000; ++i)
    ASSERT_EQ(1, aaalib_debug_num_check()) << i;
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(DebugLog, TheCountIsExactWithManyThreads) {
  on_threads(4, [](std::uint32_t) {
    for (int n = 0; n < 5000; ++n)
      aaalib_debug_num_check();
  });
  EXPECT_EQ(20000u, count());
}

TEST_F(DebugLog, ALineHasItsThreadItsModelAndItsFunctionAndGoesToTheClientSubmodule) {
  aaa_set_debug_switch(1);
  test::set_model_name("dot1x");
  write_line();
  char expected[256];
  std::snprintf(expected, sizeof expected,
                "[%5d][         dot1x][                  aaa_is_alive] %s", gettid(), kLine);
  const LogLine line = log_.lines().front();
  EXPECT_EQ(expected, line.text);
  EXPECT_EQ(7, line.priority);
  EXPECT_EQ("AAA", line.module);
  EXPECT_EQ("CLIENT", line.submodule);
  EXPECT_EQ(1, line.kind);
  EXPECT_EQ(std::string("[%5d][%14.14s][%30.30s] ") + kLine, line.format);
}

TEST_F(DebugLog, TheThreadIsTheOneThatWrites) {
  aaa_set_debug_switch(1);
  pid_t id = 0;
  std::thread([&] {
    id = gettid();
    write_line();
  }).join();
  EXPECT_EQ(std::to_string(id), log_.lines().front().thread());
}

TEST_F(DebugLog, ModelAndFunctionAreCutToTheirColumns) {
  aaa_set_debug_switch(1);
  test::set_model_name("abcdefghijklmnopq");
  AAA_DEBUG_LOG_AS("a_function_with_a_name_of_forty_letters_", "x\r\n");
  const std::string text = log_.lines().front().text;
  EXPECT_EQ("[abcdefghijklmn][a_function_with_a_name_of_fort] x\r\n", text.substr(text.find("[a")));
}

}  // namespace test::debug_log
