// What the library's words are before anything has been called. Noted before main() runs.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "aaa_client.h"
#include "runtime/send/local_delivery.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"

namespace test::at_load {

struct Words {
  aaa_msg_stat msg_stat = g_aaa_msg_stat;
  std::uint32_t malloc_times = g_aaa_malloc_times;
  std::uint32_t malloc_fail_times = g_aaa_malloc_fail_times;
  std::uint32_t free_times = g_aaa_free_times;
  std::uint16_t debug_count = aaa::g_aaalib_debug_count_curr;
  std::int32_t server_fd = lib_msg_server_fd;
  std::int32_t client_fd = lib_msg_client_fd;
  std::uint8_t msg_socket_ok = aaa::g_msg_socket_ok;
  std::string process_name{g_aaalib_process_name, sizeof g_aaalib_process_name};
};
const Words at_load;

TEST(AtLoad, TheCountersAreZero) {
  const aaa_msg_stat zero = {};
  EXPECT_EQ(0, std::memcmp(&zero, &at_load.msg_stat, sizeof zero));
  EXPECT_EQ(0u, at_load.malloc_times);
  EXPECT_EQ(0u, at_load.malloc_fail_times);
  EXPECT_EQ(0u, at_load.free_times);
  EXPECT_EQ(0u, at_load.debug_count);
}

TEST(AtLoad, TheDatagramSocketsAreNotMade) {
  EXPECT_EQ(-1, at_load.server_fd);
  EXPECT_EQ(-1, at_load.client_fd);
  EXPECT_EQ(0u, at_load.msg_socket_ok);
}

TEST(AtLoad, TheProcessNameIsEmptyAndHas64Bytes) {
  EXPECT_EQ(std::string(64, '\0'), at_load.process_name);
}

}  // namespace test::at_load
