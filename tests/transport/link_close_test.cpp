// Closing the request and event sockets, and the errors that mean a lost connection.
#include <fcntl.h>

#include <set>

#include "transport/pair_test.h"

namespace test::link_close {

class LinkClose : public PairTest {
 protected:
  static void put(std::int32_t sync_fd, std::int32_t async_fd) {
    aaa::store(g_aaa_client_cb.sync_fd, sync_fd);
    aaa::store(g_aaa_client_cb.async_fd, async_fd);
  }
  // Closes with a result, and expects what is then on record.
  static void expect_close(std::int32_t result, std::int32_t sync_fd = -1,
                           std::int32_t async_fd = -1) {
    EXPECT_EQ(result, aaa_lib_client_close());
    EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
    EXPECT_EQ(async_fd, g_aaa_client_cb.async_fd);
  }
  int new_descriptor() const { return dup(pair_.own()); }
  static bool is_open(int fd) { return fcntl(fd, F_GETFD) >= 0; }

  // Notes every descriptor closed; the close of one fails.
  Scripts failing_close(int failing) {
    return {.close = [this, failing](int closed) -> std::optional<int> {
      closed_.push_back(closed);
      if (closed == failing) return fails(EIO);
      return std::nullopt;
    }};
  }

  std::vector<int> closed_;
};

TEST_F(LinkClose, ClosesBothAndForgetsThem) {
  const int one = new_descriptor();
  const int other = new_descriptor();
  put(one, other);
  expect_close(0);
  EXPECT_FALSE(is_open(one));
  EXPECT_FALSE(is_open(other));
}

TEST_F(LinkClose, NothingOpenIsSuccessWithoutALine) {
  const OpenGate gate;
  const ScriptedCalls calls(failing_close(-1));
  for (const auto& [sync_fd, async_fd] : {std::pair{-1, -1}, {0, 0}, {0, -1}}) {
    put(sync_fd, async_fd);
    EXPECT_EQ(0, aaa_lib_client_close());
  }
  EXPECT_TRUE(closed_.empty());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(LinkClose, TheOneThatIsOpenIsClosed) {
  put(new_descriptor(), -1);
  expect_close(0);
  put(-1, new_descriptor());
  expect_close(0);
}

TEST_F(LinkClose, EqualDescriptorsAreClosedOnceWithALine) {
  const OpenGate gate;
  const int fd = new_descriptor();
  const ScriptedCalls calls(failing_close(-1));
  put(fd, fd);
  expect_close(0);
  EXPECT_THAT(closed_, ElementsAre(fd));
  EXPECT_THAT(log_.messages(),
              ElementsAre("socket equal " + std::to_string(fd) + ", close once\r\n"));
  EXPECT_THAT(log_.functions(), ElementsAre("aaa_lib_client_close"));
}

TEST_F(LinkClose, EqualDescriptorsThatAreNotOpenAreForgotten) {
  const int fd = new_descriptor();
  ::close(fd);
  put(fd, fd);
  expect_close(0);
}

TEST_F(LinkClose, EqualDescriptorsThatCannotBeClosedAreKept) {
  const int fd = new_descriptor();
  put(fd, fd);
  {
    const ScriptedCalls calls(failing_close(fd));
    expect_close(-1, fd, fd);
  }
  expect_close(0);
}

TEST_F(LinkClose, ADescriptorThatIsNotOpenIsForgottenButReported) {
  const int one = new_descriptor();
  const int other = new_descriptor();
  ::close(one);
  put(one, other);
  expect_close(-1);
  EXPECT_FALSE(is_open(other));
}

TEST_F(LinkClose, ADescriptorThatCannotBeClosedIsKeptAndTheOtherClosed) {
  const int one = new_descriptor();
  const int other = new_descriptor();
  {
    const ScriptedCalls calls(failing_close(one));
    put(one, other);
    expect_close(-1, one, -1);
    EXPECT_FALSE(is_open(other));
    put(-1, one);
    expect_close(-1, -1, one);
  }
  expect_close(0);
}

TEST_F(LinkClose, TheLibraryLockIsHeldWhileTheSocketsAreClosed) {
  bool was_free = true;
  const ScriptedCalls calls({.close = noting([&] { was_free = is_free(aaa_lib_lock); })});
  put(new_descriptor(), -1);
  expect_close(0);
  EXPECT_FALSE(was_free);
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(LinkClose, EightErrorsMeanALostConnection) {
  const std::set<int> lost = {9, 32, 88, 95, 100, 104, 107, 110};
  for (int error = -200; error < 200; ++error)
    EXPECT_EQ(lost.count(error) == 1, aaa_lib_is_conn_broken_err(error)) << error;
}

}  // namespace test::link_close
