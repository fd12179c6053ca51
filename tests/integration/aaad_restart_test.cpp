// aaad killed and started again, as a process of its own.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <optional>
#include <thread>

#include "runtime/send/waiting_session.h"
#include "session/state/locks.h"
#include "support/login.h"
#include "transport/base/atomic_word.h"

namespace {

// The program aaad-sim. It listens when the constructor returns, and is killed by the destructor.
class Aaad {
 public:
  explicit Aaad(std::vector<std::string> arguments) {
    int output[2] = {};
    EXPECT_EQ(0, pipe2(output, O_CLOEXEC));
    arguments.insert(arguments.begin(), {AAAD_SIM_PROGRAM, "--quiet"});
    spawn(arguments, output[1]);
    ::close(output[1]);
    pollfd line = {output[0], POLLIN, 0};
    EXPECT_EQ(1, ::poll(&line, 1, 10000)) << "aaad-sim does not listen";
    EXPECT_NE(0, line.revents & POLLIN) << "aaad-sim ended";
    ::close(output[0]);
  }
  ~Aaad() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Aaad(const Aaad&) = delete;
  Aaad& operator=(const Aaad&) = delete;

 private:
  void spawn(std::vector<std::string>& arguments, int output) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
      pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    EXPECT_EQ(0, posix_spawn(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ));
    posix_spawn_file_actions_destroy(&actions);
  }

  pid_t pid_ = 0;
};

class AaadRestart : public test::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    std::ofstream(users_) << "[[user]]\nname = \"alice\"\npassword = \"secret\"\n";
  }
  void TearDown() override {
    test::stop_library();
    aaad_.reset();
    LibraryTest::TearDown();
  }

  void start_aaad(std::vector<std::string> options = {}) {
    // Without heartbeats, as test::forgo_heartbeats() has it.
    options.insert(options.end(),
                   {"--directory", directory(), "--users", users_, "--status", "aaa_id_limit=0"});
    aaad_.emplace(std::move(options));
  }
  // At once, without a chance to say farewell.
  void kill_aaad(std::size_t times = 1) {
    aaad_.reset();
    ASSERT_TRUE(test::wait_for_event(AAA_EVENT_CONNECTION_LOST, times)) << "loss not told";
  }
  static void expect_registered_again(std::size_t times = 1) {
    ASSERT_TRUE(test::wait_for_event(AAA_EVENT_REREGISTERED, times)) << "not registered again";
    EXPECT_EQ(1, aaa_is_alive());
  }
  static void register_client(test::ResultBy way = test::ResultBy::waiting) {
    const reg_info info = test::client_with(way);
    ASSERT_EQ(0, aaa_svr_reg(&info));
    ASSERT_EQ(1, aaa_is_alive());
  }
  static bool is_waited_for(std::uint32_t session_id) {
    return test::eventually([=] {
      const aaa::ScopedLock lock(aaa::waiting_session_lock);
      return aaa::load(aaa::g_temp_sid) == session_id;
    });
  }

  const std::string users_ = directory() + "/users.toml";
  std::optional<Aaad> aaad_;
};

TEST_F(AaadRestart, TheClientIsRegisteredAgainWithin2SecondsAndOneAttempt) {
  using std::chrono::steady_clock;
  start_aaad();
  register_client();
  EXPECT_EQ(test::kAccepted, test::log_in("alice", "secret").code);
  kill_aaad();
  EXPECT_EQ(0, aaa_is_alive());
  start_aaad();
  const auto start = steady_clock::now();
  expect_registered_again();
  EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds(2500));
  EXPECT_EQ(test::kAccepted, test::log_in("alice", "secret").code);
}

// The others do not wait 2 seconds for an attempt.
class AaadQuickRestart : public AaadRestart {
 protected:
  void SetUp() override {
    AaadRestart::SetUp();
    clock_.shorten_sleeps();
  }

  test::MovedClock clock_;
};

TEST_F(AaadQuickRestart, ManyRestartsAreSurvived) {
  start_aaad();
  register_client(test::ResultBy::callback);
  for (std::size_t restart = 1; restart <= 5; ++restart) {
    kill_aaad(restart);
    start_aaad();
    expect_registered_again(restart);
    EXPECT_EQ(test::kAccepted, test::log_in("alice", "secret", test::ResultBy::callback).code);
  }
}

TEST_F(AaadQuickRestart, SessionIdsOfTheOldBlockAreHandedOutFirst) {
  start_aaad({"--first-session-id", "100", "--session-ids", "3"});
  register_client();
  EXPECT_EQ(100u, aaa_get_session_id());
  kill_aaad();
  start_aaad({"--first-session-id", "900"});
  expect_registered_again();
  for (const std::uint32_t expected : {101, 102, 900, 901})
    EXPECT_EQ(expected, aaa_get_session_id());
}

TEST_F(AaadQuickRestart, AWaitingThreadGetsCode2WhenAaadDies) {
  start_aaad({"--fault", "request:5=silent"});
  register_client();
  const std::uint32_t session_id = aaa_get_session_id();
  EXPECT_EQ(0, test::request_login(session_id, "alice", "secret"));
  test::Verdict verdict = {};
  std::thread waiter([&] { verdict = test::result_of_session(session_id); });
  EXPECT_TRUE(is_waited_for(session_id)) << "nobody waits";
  kill_aaad();
  waiter.join();
  EXPECT_EQ(session_id, verdict.session_id);
  EXPECT_EQ(test::kConnectionLost, verdict.code);
  EXPECT_EQ("", verdict.user);
}

TEST_F(AaadQuickRestart, NobodyIsHandedAResultWhenNobodyWaits) {
  start_aaad();
  register_client();
  kill_aaad();
  result_info* result = nullptr;
  EXPECT_EQ(-22, aaa_user_get_result(1, 0, 0, &result));
}

}  // namespace
