// The module in its host: whose registration, which directory, whose daemon, which threads.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include "pam/pam_fixture.h"
#include "support/eventually.h"

// The child starts threads, although its parent had some.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "die_after_fork=0";
}

namespace pam_test {
namespace {

std::set<std::string> thread_paths() {
  std::set<std::string> paths;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
    paths.insert(task.path());
  return paths;
}

std::size_t threads_of_process() {
  return thread_paths().size();
}

std::uint64_t signals_blocked_by(const std::string& thread) {
  std::ifstream status(thread + "/status");
  for (std::string text; std::getline(status, text);) {
    if (text.starts_with("SigBlk:")) return std::stoull(text.substr(7), nullptr, 16);
  }
  return 0;
}

class RegistrationTest : public PamTest {
 protected:
  int log_in_alice() { return log_in("alice", {"secret"}); }
};

TEST_F(RegistrationTest, LeavesNoThreadBehind) {
  const std::size_t before = threads_of_process();
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
  // The kernel still lists a thread for a moment.
  EXPECT_TRUE(test::eventually([&] { return threads_of_process() == before; },
                               std::chrono::milliseconds(500)))
      << threads_of_process() << " threads, " << before << " before";
  EXPECT_EQ(aaa_is_in_use(), 0);
  EXPECT_TRUE(sim_.wait_for_connections(0));
}

TEST_F(RegistrationTest, LetsNoThreadOfTheLibraryTakeSignalsOfTheHost) {
  const std::uint64_t own = signals_blocked_by("/proc/thread-self");
  const std::set<std::string> before = thread_paths();
  std::size_t threads = 0;
  answer_authentication([&](std::uint32_t id) {
    for (const std::string& thread : thread_paths()) {
      if (before.contains(thread)) continue;
      ++threads;
      for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGCHLD, SIGALRM})
        EXPECT_TRUE(signals_blocked_by(thread) >> (signal - 1) & 1) << signal << " in " << thread;
    }
    return result_body(id, 0);
  });
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
  EXPECT_GE(threads, 1u) << "the receive thread at least";
  EXPECT_EQ(signals_blocked_by("/proc/thread-self"), own);
}

// As sshd does: it asks for a password itself, and for answers to questions in a child.
TEST_F(RegistrationTest, CanBeUsedInAChildOfAProcessThatHasUsedIt) {
  EXPECT_EQ(log_in("alice", {"wrong"}), PAM_AUTH_ERR);
  const pid_t child = ::fork();
  if (child == 0) ::_exit(log_in_alice());
  int status = -1;
  const bool ends = test::eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; });
  if (!ends) ::kill(child, SIGKILL);
  ASSERT_TRUE(ends) << "the child does not end";
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), PAM_SUCCESS);
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
}

TEST_F(RegistrationTest, GivesBackTheSettingsOfTheLibrary) {
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
  char path[200];
  ::setenv("TMPDIR", "/elsewhere", 1);
  EXPECT_EQ(aaa_make_path(path, "", sizeof path), 1);
  ::unsetenv("TMPDIR");
  EXPECT_STREQ(path, "/elsewhere");
}

TEST_F(RegistrationTest, UsesTmpdirWithoutADirectoryButNotAsRoot) {
  configure_lines(line("auth", "aaad_uid=" + own_uid()));
  ::setenv("TMPDIR", directory_.path().c_str(), 1);
  EXPECT_EQ(log_in_alice(), ::geteuid() == 0 ? PAM_AUTHINFO_UNAVAIL : PAM_SUCCESS);
  ::unsetenv("TMPDIR");
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr("no directory=")));
}

TEST_F(RegistrationTest, RegistersUnderTheNameGiven) {
  configure("model=login");
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
  EXPECT_EQ(sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ))->client.model, "login");
}

TEST_F(RegistrationTest, LeavesTheRegistrationOfItsHostAlone) {
  reg_info host{};
  std::strcpy(host.model_name, "host");
  host.notify_del_msg_cb = [](const void*) {};
  EXPECT_EQ(aaa_set_directory(directory_.path().c_str()), 0);
  EXPECT_EQ(aaa_svr_reg(&host), 0);
  EXPECT_TRUE(sim_.wait_for_clients(1));
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr("this process is a client of aaad itself")));
  EXPECT_EQ(aaa_is_alive(), 1);
  EXPECT_STREQ(g_aaa_client_cb.model_name, "host");
  EXPECT_EQ(g_aaa_client_cb.notify_del_msg_cb, host.notify_del_msg_cb);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 0u);
  EXPECT_EQ(aaa_svr_dereg(), 0);
  (void)aaa_set_directory(nullptr);
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
}

TEST_F(RegistrationTest, LetsThreadsOfItsHostTakeTurns) {
  std::vector<std::thread> threads;
  std::vector<int> results(4, -1);
  for (std::size_t i = 0; i < results.size(); ++i) {
    threads.emplace_back([this, i, &results] {
      Conversation user({i % 2 == 0 ? "secret" : "wrong"});
      Handle handle(configuration_.path(), "alice", user);
      results[i] = ::pam_authenticate(handle, 0);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_THAT(results, ElementsAre(PAM_SUCCESS, PAM_AUTH_ERR, PAM_SUCCESS, PAM_AUTH_ERR));
}

TEST_F(RegistrationTest, CreatesNoDirectory) {
  const std::string wrong = directory_.path() + "/wrong";
  configure_lines(line("auth", "directory=" + wrong));
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr(wrong + ": No such file")));
  EXPECT_FALSE(std::filesystem::exists(wrong));
}

TEST_F(RegistrationTest, TakesNoFileForADirectory) {
  std::filesystem::create_directory(directory_.path() + "/other");
  std::filesystem::create_directory(directory_.path() + "/other/security");
  std::ofstream(directory_.path() + "/other/security/aaa") << "a file";
  configure_lines(line("auth", "directory=" + directory_.path() + "/other"));
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr("is not a directory")));
}

TEST_F(RegistrationTest, FollowsNoLink) {
  const std::string base = directory_.path();
  const std::string other = base + "/other";
  std::filesystem::create_directory(other);
  for (const std::string part : {"", "/security", "/security/aaa"}) {
    std::filesystem::remove_all(other);
    std::filesystem::create_directories(std::filesystem::path(other + part).parent_path());
    std::filesystem::create_directory_symlink(base + part, other + part);
    clear_system_log();
    configure_lines(line("auth", "timeout=3 directory=" + other + " aaad_uid=" + own_uid()));
    EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL) << part;
    EXPECT_THAT(system_log(), Contains(HasSubstr(other + part + " is a symbolic link")));
  }
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(RegistrationTest, TakesNoDirectoryThatOthersCanWriteTo) {
  ASSERT_EQ(::chmod(directory_.path().c_str(), 0707), 0);
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr(directory_.path() + " can be written by others")));
}

TEST_F(RegistrationTest, TakesNoDirectoryOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a directory away";
  const std::string base = directory_.path();
  for (const std::string& path : {base, base + "/security", base + "/security/aaa"}) {
    ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
    clear_system_log();
    EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
    EXPECT_THAT(system_log(), Contains(HasSubstr(path + " belongs to another user")));
    ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
  }
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(RegistrationTest, WantsADaemonOfRootUnlessToldOtherwise) {
  configure_lines(line("auth", "timeout=3 directory=" + directory_.path()));
  EXPECT_EQ(log_in_alice(), ::geteuid() == 0 ? PAM_SUCCESS : PAM_AUTHINFO_UNAVAIL);
}

TEST_F(RegistrationTest, EndsAlsoWhenTheDaemonDoesNotConfirm) {
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_DEREGISTER_REQ, aaa_sim::Fault::wrong_type);
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
  EXPECT_EQ(aaa_is_in_use(), 0);
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
}

class OptionsTest : public PamTest {};

TEST_F(OptionsTest, AreRefusedWhenTheyAreNotUnderstood) {
  for (const std::string& option :
       {std::string("timeout=2"), std::string("timeout=121"), std::string("timeout=5s"),
        std::string("timeout="), std::string("timeout"), std::string("aaad_uid=root"),
        std::string("aaad_uid=4294967295"), std::string("aaad_uid=-1"), std::string("directory="),
        std::string("directory=relative"), "directory=/" + std::string(69, 'd'),
        std::string("model="), "model=" + std::string(64, 'm'), std::string("nullok")}) {
    clear_system_log();
    configure(option);
    EXPECT_EQ(log_in("alice", {"secret"}), PAM_SERVICE_ERR) << option;
    EXPECT_THAT(system_log(), Contains(HasSubstr("argument not understood: " + option)));
  }
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(OptionsTest, OfLibpamAreAccepted) {
  configure("try_first_pass use_authtok authtok_type=AAA timeout=120 model=" +
            std::string(63, 'm'));
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_SUCCESS);
}

}  // namespace
}  // namespace pam_test
