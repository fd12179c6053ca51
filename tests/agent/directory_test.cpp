// The work directory that aaa_agent_init makes or finds.
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "agent/agent_client.h"

namespace test::agent_directory {

class AgentDirectory : public AgentTest {};

TEST_F(AgentDirectory, IsMadeAnewBeforeTheFirstConnection) {
  init();
  std::filesystem::remove_all(directory() + "/security");
  init();
  EXPECT_TRUE(std::filesystem::is_directory(directory() + "/security/aaa"));
}

// Group and others may not write to a directory that somebody else has prepared.
TEST_F(AgentDirectory, ThatExistsKeepsItsMode) {
  const std::string work = directory() + "/security/aaa";
  ASSERT_EQ(0, chmod(work.c_str(), 0750));
  init();
  struct stat status = {};
  ASSERT_EQ(0, stat(work.c_str(), &status));
  EXPECT_EQ(0750u, status.st_mode & 07777);
  ASSERT_EQ(0, chmod(work.c_str(), 0777));
}

// The calling thread alone meets files as another user.
class OtherUser {
 public:
  OtherUser() { setfsuid(65534); }
  ~OtherUser() { setfsuid(0); }
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
};

TEST_F(AgentDirectory, OfAnotherUserServesAnUnprivilegedClientToo) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root becomes another user";
  const std::string work = directory() + "/security/aaa";
  ASSERT_EQ(0, chmod(directory().c_str(), 0755));
  ASSERT_EQ(0, chmod((work + "/.aaa_domain_socket_fs").c_str(), 0777));
  const OtherUser other;
  ASSERT_EQ(-1, chmod(work.c_str(), 0777));
  init_and_connect();
  expect_steady();
}

}  // namespace test::agent_directory
