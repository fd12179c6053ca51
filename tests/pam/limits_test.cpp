// How long a call may take.
#include <chrono>
#include <future>
#include <thread>

#include "pam/pam_fixture.h"
#include "support/eventually.h"

namespace pam_test {
namespace {

using std::chrono::steady_clock;

// A call that does not heed its limit takes 15 seconds. On a busy machine one that does may take
// some seconds more than it was given.
constexpr std::chrono::seconds kLessThanTheDefault{12};

class LimitsTest : public PamTest {
 protected:
  int log_in_alice() { return log_in("alice", {"secret"}); }
};

TEST_F(LimitsTest, NeverTakesTheResultOfAnotherSessionNorARecordOfZeros) {
  configure("timeout=3");
  sim_.set_answer(AAA_MSG_AUTHEN_REQ, [](const aaa_sim::Request& request) -> aaa_sim::Replies {
    const std::uint32_t id = request.header.id;
    aaa_sim::Bytes of_zeros = result_body(id, 0);
    of_zeros[2] ^= 0xff;  // the length of the fixed block
    return {{aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, id, result_body(id + 1, 0)},
            {aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, id, of_zeros}};
  });
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTHINFO_UNAVAIL);
}

TEST_F(LimitsTest, EndsInTimeWhenNoAnswerComesAndWithdrawsTheRequest) {
  configure("timeout=3");
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_AUTHEN_REQ, aaa_sim::Fault::silent);
  const auto start = steady_clock::now();
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTHINFO_UNAVAIL);
  EXPECT_LT(steady_clock::now() - start, kLessThanTheDefault);
  EXPECT_EQ(sent(AAA_MSG_CLEAR_USER), 1u);
  EXPECT_THAT(system_log(), Contains(HasSubstr("no answer")));
  EXPECT_THAT(system_log(), Not(Contains(HasSubstr("secret"))));
}

TEST_F(LimitsTest, EndsInTimeWhenTheDaemonIsAway) {
  configure("timeout=3");
  sim_.stop();
  const auto start = steady_clock::now();
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTHINFO_UNAVAIL);
  EXPECT_LT(steady_clock::now() - start, kLessThanTheDefault);
  EXPECT_THAT(system_log(), Contains(HasSubstr("aaad cannot be reached")));
}

TEST_F(LimitsTest, EndsSoonWhenTheConnectionIsLost) {
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_AUTHEN_REQ, aaa_sim::Fault::silent);
  std::thread breaking([this] {
    EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ)));
    sim_.stop();
  });
  const auto start = steady_clock::now();
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTHINFO_UNAVAIL);
  EXPECT_LT(steady_clock::now() - start, kLessThanTheDefault);
  breaking.join();
}

TEST_F(LimitsTest, WaitsForAnotherThreadForItsOwnTimeOnly) {
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_AUTHEN_REQ, aaa_sim::Fault::silent);
  configure_lines(line("auth", found() + " timeout=60") + line("account", found() + " timeout=3"));
  std::thread first([this] { EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL); });
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ)));
  Conversation user;
  Handle handle(configuration_.path(), "alice", user);
  EXPECT_EQ(::pam_putenv(handle, "AAA_SESSION=0000002a::616c696365"), PAM_SUCCESS);
  EXPECT_EQ(::pam_acct_mgmt(handle, 0), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr("another thread is waiting for aaad")));
  EXPECT_EQ(sent(AAA_MSG_AUTHOR_REQ), 0u);
  sim_.close_connections();
  first.join();
}

TEST_F(LimitsTest, SendsNothingWhenNoTimeIsLeftAfterTheWait) {
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_AUTHEN_REQ, aaa_sim::Fault::silent);
  configure_lines(line("auth", found() + " timeout=60") + line("account", found() + " timeout=3"));
  std::thread first([this] { EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL); });
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ)));
  const auto late = steady_clock::now() + std::chrono::milliseconds(2300);
  std::thread breaking([&] {
    std::this_thread::sleep_until(late);
    sim_.close_connections();
  });
  Conversation user;
  Handle handle(configuration_.path(), "alice", user);
  EXPECT_EQ(::pam_putenv(handle, "AAA_SESSION=0000002a::616c696365"), PAM_SUCCESS);
  EXPECT_EQ(::pam_acct_mgmt(handle, 0), PAM_AUTHINFO_UNAVAIL);
  EXPECT_EQ(sent(AAA_MSG_AUTHOR_REQ), 0u);
  breaking.join();
  first.join();
}

// As while another thread of the host registers.
TEST_F(LimitsTest, DoesNotWaitLongerForTheLibrary) {
  configure("timeout=3");
  std::promise<void> locked;
  std::promise<void> finished;
  std::thread host([&] {
    ::pthread_mutex_lock(&aaa_lib_lock);
    locked.set_value();
    (void)finished.get_future().wait_for(std::chrono::seconds(8));
    ::pthread_mutex_unlock(&aaa_lib_lock);
  });
  locked.get_future().wait();
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr("keeps the library busy")));
  finished.set_value();
  host.join();
}

TEST_F(LimitsTest, CountsTheWaitForAnotherThread) {
  configure("timeout=3");
  sim_.stop();
  const auto start = steady_clock::now();
  std::thread first([this] { EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL); });
  Conversation user({"secret"});
  Handle handle(configuration_.path(), "alice", user);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_AUTHINFO_UNAVAIL);
  first.join();
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(6)) << "one after the other";
}

TEST_F(LimitsTest, SendsNothingToADaemonOfAnotherUser) {
  configure("timeout=3 aaad_uid=" + std::to_string(::geteuid() + 1));
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_EQ(sent(AAA_MSG_REGISTER_REQ), 0u);
  EXPECT_THAT(system_log(), Contains(HasSubstr("aaad cannot be reached")));
}

TEST_F(LimitsTest, EndsAlsoWhenTheDaemonClosesOneConnection) {
  configure("timeout=3");
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_AUTHEN_REQ, aaa_sim::Fault::close);
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_EQ(aaa_is_in_use(), 0);
}

TEST_F(LimitsTest, WaitsForADaemonThatComesBackInTime) {
  sim_.stop();
  std::thread restarting([this] {
    EXPECT_TRUE(test::eventually([] { return aaa_is_in_use() != 0; })) << "no attempt";
    sim_.start();
  });
  EXPECT_EQ(log_in_alice(), PAM_SUCCESS);
  restarting.join();
}

TEST_F(LimitsTest, EndsAfterTwelveSecondsWhenTheDaemonAcceptsAndStaysSilent) {
  configure("timeout=60");
  sim_.change([](aaa_sim::Settings& settings) { settings.silent = true; });
  const auto start = steady_clock::now();
  EXPECT_EQ(log_in_alice(), PAM_AUTHINFO_UNAVAIL);
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(14));
  EXPECT_THAT(system_log(), Contains(HasSubstr("does not answer")));
  EXPECT_EQ(aaa_is_in_use(), 0);
}

}  // namespace
}  // namespace pam_test
