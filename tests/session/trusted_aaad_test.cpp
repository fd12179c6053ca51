// Naming aaad's directory and its user, and asking whether the process is registered.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "session/session_test.h"

namespace test::trusted_aaad {

std::string path_of(const char* suffix) {
  char path[256] = "unchanged";
  return aaa_make_path(path, suffix, sizeof path) == 1 ? path : "none";
}

std::size_t lines_with(const LogCapture& log, const std::string& part) {
  const std::vector<LogLine> lines = log.lines();
  return static_cast<std::size_t>(std::count_if(
      lines.begin(), lines.end(),
      [&](const LogLine& line) { return line.text.find(part) != std::string::npos; }));
}

class SetDirectory : public LibraryTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(0, aaa_set_directory(nullptr));
    LibraryTest::TearDown();
  }
};

TEST_F(SetDirectory, StandsInForTmpdir) {
  EXPECT_EQ(0, aaa_set_directory("/run/aaa"));
  EXPECT_EQ("/run/aaa/x", path_of("/x"));
  ::unsetenv("TMPDIR");
  EXPECT_EQ("/run/aaa/x", path_of("/x"));
}

TEST_F(SetDirectory, NullIsTmpdirAgain) {
  EXPECT_EQ(0, aaa_set_directory("/run/aaa"));
  EXPECT_EQ(0, aaa_set_directory(nullptr));
  EXPECT_EQ(directory() + "/x", path_of("/x"));
  ::unsetenv("TMPDIR");
  EXPECT_EQ("none", path_of("/x"));
}

TEST_F(SetDirectory, IsCopied) {
  char path[] = "/run/aaa";
  EXPECT_EQ(0, aaa_set_directory(path));
  path[1] = 'X';
  EXPECT_EQ("/run/aaa/x", path_of("/x"));
}

TEST_F(SetDirectory, HasAtMost69Bytes) {
  const std::string longest = "/" + std::string(68, 'd');
  EXPECT_EQ(0, aaa_set_directory(longest.c_str()));
  EXPECT_EQ(longest + "/x", path_of("/x"));
  EXPECT_EQ(-1, aaa_set_directory((longest + "d").c_str()));
  EXPECT_EQ(longest + "/x", path_of("/x"));
}

TEST_F(SetDirectory, ThatIsNotAbsoluteChangesNothing) {
  EXPECT_EQ(0, aaa_set_directory("/run/aaa"));
  for (const char* path : {"", "run/aaa", "./aaa"}) {
    EXPECT_EQ(-1, aaa_set_directory(path)) << path;
    EXPECT_EQ("/run/aaa/x", path_of("/x"));
  }
}

TEST_F(SetDirectory, IsWhereRegistrationFindsAaad) {
  const TemporaryDirectory elsewhere;
  aaa_sim::AaadSim sim(elsewhere.path());
  sim.start();
  EXPECT_EQ(0, aaa_set_directory(elsewhere.path().c_str()));
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(1, aaa_is_alive());
  sim.stop();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  sim.start();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  stop_library();
}

TEST_F(SetDirectory, ThatCannotBeMadeIsNamedInALine) {
  const OpenLog log;
  EXPECT_EQ(0, aaa_set_directory("/dev/null/aaa"));
  const reg_info info = client();
  EXPECT_EQ(-1, aaa_svr_reg(&info));
  EXPECT_EQ(1u, lines_with(log,
                           "the directory set is '/dev/null/aaa'; it must be writable, and "
                           "security/aaa in it must belong to the user that calls "
                           "aaa_svr_reg()\r\n"));
}

class SetAaadUid : public SessionTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(0, aaa_set_aaad_uid(-1));
    SessionTest::TearDown();
  }

  static std::string refusal() {
    return ") belongs to user " + std::to_string(::getuid()) + ", not to user " +
           std::to_string(::getuid() + 1) + "; not connected.\r\n";
  }
  std::size_t refusals() const { return lines_with(log_, refusal()); }
};

TEST_F(SetAaadUid, OfTheListenerRegisters) {
  EXPECT_EQ(0, aaa_set_aaad_uid(::getuid()));
  register_client();
}

TEST_F(SetAaadUid, OfSomebodyElseIsAFailedConnectAndNothingIsSent) {
  EXPECT_EQ(0, aaa_set_aaad_uid(std::int64_t{::getuid()} + 1));
  register_unconnected();
  EXPECT_EQ(1u, refusals());
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(1u, sim_.accepted_connections());
  EXPECT_TRUE(sim_.messages().empty());
}

TEST_F(SetAaadUid, IsLoggedOnceForAPeerThatStays) {
  EXPECT_EQ(0, aaa_set_aaad_uid(std::int64_t{::getuid()} + 1));
  for (int n = 0; n < 3; ++n)
    EXPECT_EQ(-1, aaa_lib_client_connect((directory() + "/own").c_str()));
  EXPECT_EQ(1u, refusals());
  EXPECT_EQ(0, aaa_set_aaad_uid(std::int64_t{::getuid()} + 1));
  EXPECT_EQ(-1, aaa_lib_client_connect((directory() + "/own").c_str()));
  EXPECT_EQ(2u, refusals());
}

TEST_F(SetAaadUid, IsComparedAtEveryReconnection) {
  register_client();
  EXPECT_EQ(0, aaa_set_aaad_uid(std::int64_t{::getuid()} + 1));
  EXPECT_EQ(1u, sim_.clients().size());
  sim_.clear_messages();
  sim_.close_connections();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  EXPECT_TRUE(eventually([&] { return refusals() == 1; }));
  EXPECT_EQ(0u, sim_.count(received(AAA_MSG_REGISTER_REQ)));
  EXPECT_EQ(0, aaa_set_aaad_uid(-1));
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

TEST_F(SetAaadUid, IsANumberOfAUser) {
  EXPECT_EQ(0, aaa_set_aaad_uid(::getuid()));
  for (const std::int64_t uid :
       {std::int64_t{-2}, std::int64_t{UINT32_MAX}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()})
    EXPECT_EQ(-1, aaa_set_aaad_uid(uid)) << uid;
  register_client();
  EXPECT_EQ(0, aaa_set_aaad_uid(std::int64_t{UINT32_MAX} - 1));
}

using IsInUse = SessionTest;

TEST_F(IsInUse, IsWhatARegistrationChanges) {
  EXPECT_EQ(0, aaa_is_in_use());
  register_client();
  EXPECT_EQ(1, aaa_is_in_use());
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(0, aaa_is_in_use());
}

TEST_F(IsInUse, AlsoWhileTheLibraryTriesToConnect) {
  sim_.stop();
  const reg_info info = client();
  EXPECT_EQ(0, aaa_svr_reg(&info));
  EXPECT_EQ(1, aaa_is_in_use());
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(0, aaa_is_in_use());
}

TEST_F(IsInUse, WaitsForARegistrationOnAnotherThread) {
  int before = -1;
  std::thread asking;
  {
    const aaa::ScopedLock registering(aaa_lib_lock);
    asking = std::thread([&] { before = aaa_is_in_use(); });
    aaa::set_reg_state(AAA_REG_CONNECTING);
  }
  asking.join();
  EXPECT_EQ(1, before);
}

}  // namespace test::trusted_aaad
