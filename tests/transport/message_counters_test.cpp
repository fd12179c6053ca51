// The counters of sockets and memory, and their printer.
#include "transport/framing.h"

#include <cstdarg>

#include "support/library_test.h"
#include "transport/base/memory.h"

namespace test::message_counters {

static_assert(sizeof(aaa_msg_stat) == 24);
static_assert(offsetof(aaa_msg_stat, send_error_times) == 0);
static_assert(offsetof(aaa_msg_stat, send_again_times) == 4);
static_assert(offsetof(aaa_msg_stat, recv_fail_times) == 8);
static_assert(offsetof(aaa_msg_stat, last_error_socket) == 12);
static_assert(offsetof(aaa_msg_stat, last_error_errno) == 16);
static_assert(offsetof(aaa_msg_stat, resend_discard_num) == 20);

std::vector<std::string> printed;
std::vector<std::string> formats;

[[gnu::format(printf, 1, 2)]] int print(const char* format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  printed.emplace_back(text);
  formats.emplace_back(format);
  return 0;
}

[[gnu::format(printf, 1, 2)]] int refuse(const char*, ...) {
  return -1;
}

class MessageCounters : public LibraryTest {
 protected:
  MessageCounters() {
    printed.clear();
    formats.clear();
  }
};

TEST_F(MessageCounters, SixLinesArePrintedWhileThereHasBeenNoErrorByEitherName) {
  g_aaa_msg_stat = {.send_error_times = 1,
                    .send_again_times = 2,
                    .recv_fail_times = 3,
                    .last_error_socket = 9,
                    .last_error_errno = 0,
                    .resend_discard_num = 4294967295};
  for (const auto show : {aaa_show_msg_stat, aaalib_show_msg_stat}) {
    printed.clear();
    EXPECT_EQ(0, show(print));
    EXPECT_THAT(printed,
                ElementsAre("aaa message call send error times: 1\r\n",
                            "aaa message call send again times: 2\r\n",
                            "aaa message call recv fail times: 3\r\n",
                            "aaa message resend discard num: 4294967295\r\n",
                            "aaa malloc times: " + std::to_string(g_aaa_malloc_times) + "\r\n",
                            "aaa free times: " + std::to_string(g_aaa_free_times) + "\r\n"));
  }
}

TEST_F(MessageCounters, ASeventhLineNamesTheLastError) {
  g_aaa_msg_stat.last_error_socket = 7;
  g_aaa_msg_stat.last_error_errno = 32;
  EXPECT_EQ(0, aaa_show_msg_stat(print));
  ASSERT_EQ(7u, printed.size());
  EXPECT_EQ("aaa message error socket(7): Broken pipe\r\n", printed[6]);
  EXPECT_THAT(formats,
              ElementsAre("aaa message call send error times: %u\r\n",
                          "aaa message call send again times: %u\r\n",
                          "aaa message call recv fail times: %u\r\n",
                          "aaa message resend discard num: %u\r\n", "aaa malloc times: %u\r\n",
                          "aaa free times: %u\r\n", "aaa message error socket(%d): %s\r\n"));
  EXPECT_EQ(0, aaalib_show_msg_stat(print));
}

TEST_F(MessageCounters, ThePrinterReturnsZeroWithoutAFunctionOrWhateverItReturns) {
  EXPECT_EQ(0, aaa_show_msg_stat(nullptr));
  EXPECT_EQ(0, aaalib_show_msg_stat(nullptr));
  EXPECT_EQ(0, aaa_show_msg_stat(refuse));
  g_aaa_msg_stat.last_error_errno = 32;
  EXPECT_EQ(0, aaa_show_msg_stat(refuse));
  EXPECT_TRUE(printed.empty());
}

TEST_F(MessageCounters, EachFailureCountsItsWordAndKeepsTheSocketAndTheError) {
  aaa::count_send_error(3, 4);
  EXPECT_EQ(1u, g_aaa_msg_stat.send_error_times);
  aaa::count_send_again(5, 11);
  EXPECT_EQ(1u, g_aaa_msg_stat.send_again_times);
  aaa::count_recv_failure(6, 104);
  EXPECT_EQ(1u, g_aaa_msg_stat.recv_fail_times);
  EXPECT_EQ(6u, g_aaa_msg_stat.last_error_socket);
  EXPECT_EQ(104u, g_aaa_msg_stat.last_error_errno);
  aaa::count_send_discard();
  EXPECT_EQ(1u, g_aaa_msg_stat.resend_discard_num);
  EXPECT_EQ(104u, g_aaa_msg_stat.last_error_errno);
}

}  // namespace test::message_counters
