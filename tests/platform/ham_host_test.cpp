#include "ham_host.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <thread>
#include <vector>

#include "ham_client.h"

namespace {

using ::testing::ElementsAre;

class HamHost : public ::testing::Test {
 protected:
  void SetUp() override { ham_host_clear(); }
  void TearDown() override { ham_host_clear(); }

  static std::vector<int32_t> RegisteredTids() {
    std::array<ham_host_entry, HAM_HOST_CAPACITY> entries{};
    const size_t count = ham_host_entries(entries.data(), entries.size());
    std::vector<int32_t> tids;
    for (size_t i = 0; i < count; ++i)
      tids.push_back(entries.at(i).tid);
    return tids;
  }

  static ham_host_entry Find(int32_t tid) {
    ham_host_entry entry{};
    EXPECT_EQ(ham_host_find(tid, &entry), 1) << "thread " << tid << " is not registered";
    return entry;
  }
};

TEST_F(HamHost, RemembersARegisteredThread) {
  EXPECT_EQ(ham_client_reg_thread_notify(10, 11, 60, 5), 0);
  const ham_host_entry entry = Find(11);
  EXPECT_EQ(entry.pid, 10);
  EXPECT_EQ(entry.tid, 11);
  EXPECT_EQ(entry.interval, 60U);
  EXPECT_EQ(entry.tolerance, 5U);
  EXPECT_EQ(entry.reports, 0U);
  EXPECT_GT(entry.registered_at_ns, 0);
  EXPECT_EQ(entry.reported_at_ns, entry.registered_at_ns);
}

TEST_F(HamHost, AReportIsCountedAndTimedAndRegisteringAgainStartsAfresh) {
  ham_client_reg_thread_notify(10, 11, 60, 5);
  EXPECT_EQ(ham_client_reset_thread_notify(10, 11, 30, 2), 0);
  const ham_host_entry entry = Find(11);
  EXPECT_EQ(entry.reports, 1U);
  EXPECT_EQ(entry.interval, 30U);
  EXPECT_EQ(entry.tolerance, 2U);
  EXPECT_GT(entry.reported_at_ns, entry.registered_at_ns);
  EXPECT_EQ(ham_client_reg_thread_notify(10, 11, 90, 6), 0);
  EXPECT_THAT(RegisteredTids(), ElementsAre(11));
  EXPECT_EQ(Find(11).interval, 90U);
  EXPECT_EQ(Find(11).reports, 0U);
}

TEST_F(HamHost, AReportOfAnUnknownThreadFails) {
  ham_client_reg_thread_notify(10, 11, 60, 5);
  EXPECT_EQ(ham_client_reset_thread_notify(10, 12, 60, 5), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(ham_client_reset_thread_notify(9, 11, 60, 5), -1);
  EXPECT_EQ(Find(11).reports, 0U);
}

TEST_F(HamHost, AThreadThatLeavesIsForgottenAndTheOthersKeepTheirOrder) {
  ham_client_reg_thread_notify(10, 11, 60, 5);
  ham_client_reg_thread_notify(10, 12, 60, 5);
  ham_client_reg_thread_notify(10, 13, 60, 5);
  EXPECT_EQ(ham_client_unreg_thread_notify(12), 0);
  EXPECT_THAT(RegisteredTids(), ElementsAre(11, 13));
  ham_host_entry entry{};
  EXPECT_EQ(ham_host_find(12, &entry), 0);
  EXPECT_EQ(ham_client_unreg_thread_notify(12), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(HamHost, RegistrationFailsWithTheErrnoThatWasAskedFor) {
  ham_host_fail_registration(EPERM);
  EXPECT_EQ(ham_client_reg_thread_notify(10, 11, 60, 5), -1);
  EXPECT_EQ(errno, EPERM);
  EXPECT_THAT(RegisteredTids(), ElementsAre());
  ham_host_fail_registration(0);
  EXPECT_EQ(ham_client_reg_thread_notify(10, 11, 60, 5), 0);
}

TEST_F(HamHost, OneThreadTooManyIsRefused) {
  for (int32_t tid = 1; tid <= 128; ++tid) {
    ASSERT_EQ(ham_client_reg_thread_notify(10, tid, 60, 5), 0);
  }
  EXPECT_EQ(ham_client_reg_thread_notify(10, 129, 60, 5), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(ham_client_reg_thread_notify(10, 128, 60, 5), 0);
}

TEST_F(HamHost, CopiesNoMoreEntriesThanThereIsRoomFor) {
  ham_client_reg_thread_notify(10, 11, 60, 5);
  ham_client_reg_thread_notify(10, 12, 60, 5);
  std::array<ham_host_entry, 2> entries{};
  EXPECT_EQ(ham_host_entries(entries.data(), 1), 2U);
  EXPECT_EQ(entries[0].tid, 11);
  EXPECT_EQ(entries[1].tid, 0);
  EXPECT_EQ(ham_host_entries(nullptr, 0), 2U);
}

TEST_F(HamHost, AChildProcessStartsWithAnEmptyTable) {
  ham_client_reg_thread_notify(10, 11, 60, 5);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(static_cast<int>(ham_host_entries(nullptr, 0)));
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_THAT(RegisteredTids(), ElementsAre(11));
}

TEST_F(HamHost, ThreadsMayUseTheTableAtOnce) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int32_t tid = 1; tid <= 4; ++tid) {
    threads.emplace_back([tid] {
      for (int n = 0; n < 100; ++n) {
        EXPECT_EQ(ham_client_reg_thread_notify(10, tid, 60, 5), 0);
        EXPECT_EQ(ham_client_reset_thread_notify(10, tid, 60, 5), 0);
        EXPECT_EQ(ham_client_unreg_thread_notify(tid), 0);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_THAT(RegisteredTids(), ElementsAre());
}

}  // namespace
