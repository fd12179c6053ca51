// Who can put a socket in aaad's place: whoever can enter the directory that TMPDIR names.
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "session/session_test.h"

namespace test::socket_directory {

constexpr uid_t kOtherUser = 65534;
constexpr gid_t kOtherGroup = 65534;
constexpr gid_t kGroupOfClients = 61234;
constexpr char kServerSocket[] = "/security/aaa/.aaa_domain_socket_fs";

bool is_root() {
  return ::geteuid() == 0;
}

bool becomes_other_user(gid_t group) {
  return ::setgroups(0, nullptr) == 0 && ::setgid(group) == 0 && ::setuid(kOtherUser) == 0;
}

// Removes aaad's socket and binds another one to its name. 0, or the errno value of what failed.
int replace_socket(const std::string& name) {
  if (::unlink(name.c_str()) != 0) return errno;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path, sizeof address.sun_path - 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

// Runs `attempt` in a child process and returns what it returned. Of a test that runs as root the
// child is another user's; another test's user is kept out by what it may not do itself.
template <class Attempt>
int as_other_user(gid_t group, Attempt attempt) {
  constexpr int no_other_user = 255;
  const pid_t child = ::fork();
  if (child == 0) ::_exit(is_root() && !becomes_other_user(group) ? no_other_user : attempt());
  int status = 0;
  EXPECT_TRUE(eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; }))
      << "the child does not end";
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_NE(no_other_user, WEXITSTATUS(status)) << "no change of user";
  return WEXITSTATUS(status);
}

class SocketDirectory : public SessionTest {
 protected:
  void SetUp() override {
    mask_ = ::umask(022);
    SessionTest::SetUp();
    register_quietly();
  }
  void TearDown() override {
    EXPECT_EQ(0, ::chmod(directory().c_str(), 0700));
    SessionTest::TearDown();
    ::umask(mask_);
  }

  void set_mode(mode_t mode) { ASSERT_EQ(0, ::chmod(directory().c_str(), mode)); }
  void let_group_in(mode_t mode) {
    set_mode(mode);
    if (is_root()) {
      ASSERT_EQ(0, ::chown(directory().c_str(), 0, kGroupOfClients));
    }
  }
  // As it was made, which registration must leave alone: nobody but its owner enters. Where the
  // attempts are the owner's own, they must not enter either.
  void keep_others_out() {
    EXPECT_EQ(0700u, mode_of(directory()));
    if (!is_root()) set_mode(0600);
  }

  static mode_t mode_of(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(0, ::stat(path.c_str(), &status)) << path;
    return status.st_mode & 07777u;
  }

  int replacing_the_socket(gid_t group = kOtherGroup) {
    const std::string name = directory() + kServerSocket;
    return as_other_user(group, [&] { return replace_socket(name); });
  }

 private:
  mode_t mask_ = 0;
};

TEST_F(SocketDirectory, IsOpenToEverybodyBelowATmpdirThatOthersCanEnter) {
  set_mode(0755);
  EXPECT_EQ(0, replacing_the_socket());
}

TEST_F(SocketDirectory, IsProtectedByATmpdirThatOthersCannotEnter) {
  keep_others_out();
  EXPECT_EQ(EACCES, replacing_the_socket());
  set_mode(0700);
  EXPECT_TRUE(std::filesystem::is_socket(directory() + kServerSocket)) << "aaad's";
}

TEST_F(SocketDirectory, IsProtectedAlsoWhenItsOwnModeWasSetAnew) {
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(0, ::chmod((directory() + "/security/aaa").c_str(), 0700));
  register_quietly();
  EXPECT_EQ(0777u, mode_of(directory() + "/security/aaa")) << "the prepared mode does not last";
  keep_others_out();
  EXPECT_EQ(EACCES, replacing_the_socket());
}

TEST_F(SocketDirectory, IsOpenToTheGroupThatTmpdirLetsIn) {
  let_group_in(0750);
  EXPECT_EQ(0, replacing_the_socket(kGroupOfClients));
}

TEST_F(SocketDirectory, IsClosedToThoseOutsideTheGroupThatTmpdirLetsIn) {
  let_group_in(is_root() ? 0750 : 0650);
  EXPECT_EQ(EACCES, replacing_the_socket());
}

}  // namespace test::socket_directory
