// Closing the request and event sockets, and the errors that mean a lost connection.
#include <set>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/endpoint_test.h"

namespace {

using test::fails;
using test::ScriptedCalls;

class LinkClose : public test::PairTest {
 protected:
  static void put(std::int32_t sync_fd, std::int32_t async_fd) {
    aaa::store(g_aaa_client_cb.sync_fd, sync_fd);
    aaa::store(g_aaa_client_cb.async_fd, async_fd);
  }
  static void expect_fields(std::int32_t sync_fd, std::int32_t async_fd) {
    EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
    EXPECT_EQ(async_fd, g_aaa_client_cb.async_fd);
  }
  static bool is_open(int fd) { return fcntl(fd, F_GETFD) >= 0; }

  // Answers the close of one descriptor; notes every descriptor closed.
  test::Scripts failing_close(int fd, int error) {
    return {.close = [this, fd, error](int closed) -> std::optional<int> {
      closed_.push_back(closed);
      if (closed == fd) return fails(error);
      return std::nullopt;
    }};
  }

  std::vector<int> closed_;
};

TEST_F(LinkClose, ClosesBothAndForgetsThem) {
  const int one = dup(pair_.own());
  const int other = dup(pair_.own());
  put(one, other);
  EXPECT_EQ(0, aaa_lib_client_close());
  expect_fields(-1, -1);
  EXPECT_FALSE(is_open(one));
  EXPECT_FALSE(is_open(other));
}

TEST_F(LinkClose, NothingOpenIsSuccessWithoutALine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  const ScriptedCalls calls(failing_close(-1, EIO));
  put(-1, -1);
  EXPECT_EQ(0, aaa_lib_client_close());
  put(0, 0);
  EXPECT_EQ(0, aaa_lib_client_close());
  put(0, -1);
  EXPECT_EQ(0, aaa_lib_client_close());
  put(-1, -1);
  EXPECT_TRUE(closed_.empty());
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(LinkClose, TheOneThatIsOpenIsClosed) {
  put(dup(pair_.own()), -1);
  EXPECT_EQ(0, aaa_lib_client_close());
  expect_fields(-1, -1);
  put(-1, dup(pair_.own()));
  EXPECT_EQ(0, aaa_lib_client_close());
  expect_fields(-1, -1);
}

TEST_F(LinkClose, EqualDescriptorsAreClosedOnceWithALine) {
  const test::OpenGate gate;
  const test::LogCapture log;
  const int fd = dup(pair_.own());
  const ScriptedCalls calls(failing_close(-1, EIO));
  put(fd, fd);
  EXPECT_EQ(0, aaa_lib_client_close());
  expect_fields(-1, -1);
  EXPECT_THAT(closed_, testing::ElementsAre(fd));
  EXPECT_THAT(log.messages(),
              testing::ElementsAre("socket equal " + std::to_string(fd) + ", close once\r\n"));
  EXPECT_EQ("aaa_lib_client_close", log.lines().front().function());
}

TEST_F(LinkClose, EqualDescriptorsThatAreNotOpenAreForgotten) {
  const int fd = dup(pair_.own());
  ::close(fd);
  put(fd, fd);
  EXPECT_EQ(0, aaa_lib_client_close());
  expect_fields(-1, -1);
}

TEST_F(LinkClose, EqualDescriptorsThatCannotBeClosedAreKept) {
  const int fd = dup(pair_.own());
  put(fd, fd);
  {
    const ScriptedCalls calls(failing_close(fd, EIO));
    EXPECT_EQ(-1, aaa_lib_client_close());
  }
  expect_fields(fd, fd);
  EXPECT_EQ(0, aaa_lib_client_close());
}

TEST_F(LinkClose, ADescriptorThatIsNotOpenIsForgottenButReported) {
  const int one = dup(pair_.own());
  const int other = dup(pair_.own());
  ::close(one);
  put(one, other);
  EXPECT_EQ(-1, aaa_lib_client_close());
  expect_fields(-1, -1);
  EXPECT_FALSE(is_open(other));
}

TEST_F(LinkClose, ADescriptorThatCannotBeClosedIsKeptAndTheOtherClosed) {
  const int one = dup(pair_.own());
  const int other = dup(pair_.own());
  put(one, other);
  {
    const ScriptedCalls calls(failing_close(one, EIO));
    EXPECT_EQ(-1, aaa_lib_client_close());
  }
  expect_fields(one, -1);
  EXPECT_FALSE(is_open(other));
  {
    put(-1, one);
    const ScriptedCalls calls(failing_close(one, EIO));
    EXPECT_EQ(-1, aaa_lib_client_close());
  }
  expect_fields(-1, one);
  EXPECT_EQ(0, aaa_lib_client_close());
}

TEST_F(LinkClose, TheLibraryLockIsHeldWhileTheSocketsAreClosed) {
  bool was_free = true;
  const ScriptedCalls calls({.close = [&](int) -> std::optional<int> {
    was_free = test::is_free(aaa_lib_lock);
    return std::nullopt;
  }});
  put(dup(pair_.own()), -1);
  EXPECT_EQ(0, aaa_lib_client_close());
  EXPECT_FALSE(was_free);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(LinkClose, EightErrorsMeanALostConnection) {
  const std::set<int> lost = {9, 32, 88, 95, 100, 104, 107, 110};
  for (int error = -200; error < 200; ++error)
    EXPECT_EQ(lost.count(error) == 1, aaa_lib_is_conn_broken_err(error)) << error;
}

}  // namespace
