// Closing the event socket after a farewell.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "dispatch_test.h"
#include "support/scripted_calls.h"

namespace test {
namespace {

// A descriptor that the test does not close itself.
int event_socket_of_its_own(int socket) {
  const int copy = fcntl(socket, F_DUPFD_CLOEXEC, 0);
  aaa::store(g_aaa_client_cb.async_fd, copy);
  return copy;
}

class Farewell : public DispatchTest {};

TEST_F(Farewell, TheEventSocketIsClosedAndForgotten) {
  const int fd = event_socket_of_its_own(aaad_.own());
  aaalib_ipc_msg_proc_dereg_response();
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}

TEST_F(Farewell, ItIsClosedUnderTheLibrarysLock) {
  const int fd = event_socket_of_its_own(aaad_.own());
  std::optional<bool> held;
  Scripts scripts;
  scripts.close = [&](int closed) {
    if (closed == fd) held = is_held(aaa_lib_lock);
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  aaalib_ipc_msg_proc_dereg_response();
  EXPECT_EQ(std::optional<bool>(true), held);
}

TEST_F(Farewell, AFailedCloseIsForgottenToo) {
  const int fd = event_socket_of_its_own(aaad_.own());
  Scripts scripts;
  scripts.close = [](int) {
    errno = EIO;
    return -1;
  };
  {
    const ScriptedCalls calls(scripts);
    aaalib_ipc_msg_proc_dereg_response();
  }
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  ::close(fd);
}

TEST_F(Farewell, WithoutAnEventSocketNothingIsClosed) {
  aaa::store(g_aaa_client_cb.async_fd, -1);
  int closes = 0;
  Scripts scripts;
  scripts.close = [&](int) {
    ++closes;
    return std::nullopt;
  };
  {
    const ScriptedCalls calls(scripts);
    aaalib_ipc_msg_proc_dereg_response();
  }
  EXPECT_EQ(0, closes);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
}

}  // namespace
}  // namespace test
