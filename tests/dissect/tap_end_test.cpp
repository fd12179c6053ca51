// aaa-dissect --tap: how it ends, and its processes.
#include <fcntl.h>
#include <sys/ioctl.h>

#include <chrono>
#include <memory>
#include <thread>

#include "dissect/tap_fixture.h"

namespace dissect_test {
namespace tap_end {

using aaa_sim::received;
using aaa_sim::Role;

TEST_F(TapTest, AProcessEndsWithItsClientAndWhenTheTapIsKilled) {
  start_tap();
  // Or waits for whoever has inherited it.
  const auto process_is_gone = [](pid_t process) {
    const std::string status = "/proc/" + std::to_string(process) + "/stat";
    return test::eventually([&status] {
      const std::string text = contents_of(status);
      return text.empty() || text.find(") Z ") != std::string::npos;
    });
  };
  std::optional<RawClient> client = register_client();
  ASSERT_TRUE(sim_.wait_for_clients(1));
  const pid_t first = sim_.clients()[0].pid;
  client.reset();
  EXPECT_TRUE(process_is_gone(first));
  client = register_client();
  ASSERT_TRUE(sim_.wait_for_clients(1));
  const pid_t second = sim_.clients()[0].pid;
  tap_->signal(SIGKILL);
  EXPECT_TRUE(client->request.is_closed_by_peer());
  EXPECT_TRUE(process_is_gone(second));
}

TEST_F(TapTest, AProcessThatWasKilledIsReplacedForItsClient) {
  start_tap({"--quiet"});
  const RawClient first = register_client();
  ASSERT_TRUE(sim_.wait_for_clients(1));
  const pid_t killed = sim_.clients()[0].pid;
  ASSERT_EQ(::kill(killed, SIGKILL), 0);
  const RawClient second = register_client("two2"), third = register_client("tri3");
  ASSERT_TRUE(sim_.wait_for_clients(3));
  EXPECT_NE(sim_.clients()[1].pid, killed);
  EXPECT_EQ(sim_.clients()[2].pid, sim_.clients()[1].pid) << "both are of this process";
  tap_->end();
}

// Whatever a client has written when the tap is told to end reaches the daemon, and is shown.
TEST_F(TapTest, ASignalLosesNothing) {
  for (const int signal : {SIGTERM, SIGINT}) {
    sim_.clear_messages();
    start_tap({"--quiet"});
    std::vector<std::unique_ptr<RawClient>> clients;
    std::vector<std::size_t> written(8);
    for (std::size_t i = 0; i < written.size(); ++i)
      clients.push_back(std::make_unique<RawClient>(tap_->socket(), "cli" + std::to_string(i)));
    std::vector<std::thread> writers;
    for (std::size_t i = 0; i < written.size(); ++i)
      writers.emplace_back([&, i] {
        const std::string message = test::message_with_id(static_cast<std::uint32_t>(i), 17);
        while (clients[i]->request.try_send(message))
          ++written[i];
      });
    ASSERT_TRUE(sim_.wait_for_message(received(17), std::chrono::seconds(10), 1000));
    tap_->signal(signal);
    for (std::thread& writer : writers)
      writer.join();
    EXPECT_EQ(tap_->exit_status(), 0);
    std::size_t all = 0;
    for (const std::size_t count : written)
      all += count;
    EXPECT_TRUE(test::eventually([&] { return sim_.count(received(17)) == all; }))
        << sim_.count(received(17)) << " of " << all;
    EXPECT_EQ(tap_->captured(17), all);
  }
}

TEST_F(TapTest, WhatTheDaemonHasWrittenWhenItEndsReachesTheClient) {
  sim_.stop();
  aaa_sim::Listener daemon(sim_.socket_path());
  start_tap({"--quiet"});
  RawConnection client(tap_->socket());
  const aaa_sim::FileDescriptor accepted = accept_from(daemon);
  const std::string message = test::message_bytes(105, std::string(984, 'x'));
  std::size_t written = 0;
  const auto write_until_full = [&] {
    for (ssize_t put; (put = ::send(accepted.get(), message.data(), 1000, MSG_NOSIGNAL)) > 0;)
      written += static_cast<std::size_t>(put);
    return written > 400000;
  };
  ASSERT_TRUE(test::eventually(write_until_full)) << written;
  tap_->signal(SIGTERM);
  EXPECT_EQ(client.receive(written).size(), written);
  EXPECT_TRUE(client.is_closed_by_peer());
  EXPECT_EQ(tap_->exit_status(), 0);
  EXPECT_EQ(tap_->captured(105), written / 1000);
}

// Some of it waits for the daemon, some in the tap, and some for the tap.
TEST_F(TapTest, WhatADaemonThatIsGoneDidNotReadIsShownAndSaid) {
  sim_.stop();
  std::optional<aaa_sim::Listener> daemon(sim_.socket_path());
  start_tap({"--quiet"});
  const aaa_sim::FileDescriptor client = aaa_sim::Listener::connect(tap_->socket());
  ASSERT_TRUE(client.is_open());
  aaa_sim::FileDescriptor accepted = accept_from(*daemon);
  const std::string message = test::message_bytes(10, std::string(984, 'x'));
  std::size_t written = 0;
  ASSERT_TRUE(test::eventually([&] {
    while (::send(client.get(), message.data(), 1000, MSG_NOSIGNAL) == 1000)
      ++written;
    return written > 400;
  })) << written;
  accepted.reset();
  daemon.reset();
  ASSERT_TRUE(test::eventually([&] {
    pollfd wait{client.get(), 0, 0};
    return ::poll(&wait, 1, 0) == 1 && (wait.revents & POLLHUP) != 0;
  })) << "the connection goes on";
  tap_->signal(SIGTERM);
  EXPECT_EQ(tap_->exit_status(), 1);
  EXPECT_THAT(tap_->program().remaining_errors(),
              testing::MatchesRegex("aaa-dissect: [0-9]+ bytes were read and could not be "
                                    "forwarded\n"));
  EXPECT_EQ(tap_->captured(10), written);
}

TEST_F(TapTest, AReceiverThatNeverReadsHoldsTheEndUpForSecondsOnly) {
  start_tap({"--quiet"});
  RawClient client = register_client();
  for (int i = 0; i < 5; ++i)
    sim_.send_message({}, Role::event, 105, 0, test::view(std::string(200000, 'x')));
  ASSERT_TRUE(test::eventually([&] { return client.event.available() > 100000; }));
  tap_->signal(SIGTERM);
  EXPECT_THAT(tap_->program().remaining_errors(),
              testing::MatchesRegex("aaa-dissect: [0-9]+ bytes were read and could not be "
                                    "forwarded\n"));
  EXPECT_EQ(tap_->exit_status(), 1);
}

// The capture does not get the number of the output, and so what is printed.
TEST_F(TapTest, ACaptureIsWholeWhenThereIsNoOutput) {
  ::mkdir(directory_.c_str(), 0755);
  const std::string capture = directory_ + "/tapped";
  BoundProgram program("/bin/bash",
                       {"-c", std::string("exec ") + AAA_DISSECT_PROGRAM + " --tap " + directory_ +
                                  " -d " + work_.path() + "/aaad --write " + capture + " >&-"});
  program.error_line();
  RawConnection request(directory_ + "/security/aaa/.aaa_domain_socket_fs");
  request.send(aaa_sim_test::register_request());
  EXPECT_EQ(program.error_line(), "aaa-dissect: standard output: Bad file descriptor\n");
  EXPECT_EQ(program.exit_status(), 1);
  const Outcome outcome = dissect({"--json", capture});
  EXPECT_EQ(outcome.exit_status, 0) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("register request"));
}

// A pager, or a terminal that was stopped: clients wait for it, and a signal does not.
TEST_F(TapTest, ASignalEndsItWhenNobodyReadsItsOutput) {
  for (const int signal : {SIGTERM, SIGINT}) {
    sim_.clear_messages();
    const std::string fifo = directory_ + "/stalled" + std::to_string(signal);
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const aaa_sim::FileDescriptor reader(::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    BoundProgram program(AAA_DISSECT_PROGRAM, {"--tap", directory_, "-d", work_.path() + "/aaad"},
                         "", fifo);
    program.error_line();
    RawClient client(directory_ + "/security/aaa/.aaa_domain_socket_fs", "netd");
    constexpr std::size_t kMessages = 2000;
    std::string messages;
    for (std::size_t i = 0; i < kMessages; ++i)
      messages += test::message_with_id(1, 17);
    client.request.send(messages);
    ASSERT_TRUE(test::eventually([&] {
      int size = 0;
      return ::ioctl(reader.get(), FIONREAD, &size) == 0 && size > 60000;
    })) << "too little is printed";
    program.signal(signal);
    EXPECT_EQ(program.exit_status(std::chrono::seconds(5)), 1);
    EXPECT_THAT(program.remaining_errors(),
                testing::MatchesRegex("aaa-dissect: nobody reads standard output: [0-9]+ messages "
                                      "are not printed\n"));
    EXPECT_TRUE(test::eventually([&] { return sim_.count(received(17)) == kMessages; }))
        << sim_.count(received(17)) << " of " << kMessages;
  }
}

TEST_F(TapTest, AnOutputThatIsClosedEndsIt) {
  ::mkdir(directory_.c_str(), 0755);
  BoundProgram program(
      "/bin/bash", {"-c", std::string(AAA_DISSECT_PROGRAM) + " --json --tap " + directory_ +
                              " -d " + work_.path() + "/aaad | head -n 1; echo ${PIPESTATUS[0]}"});
  program.error_line();
  RawConnection request(directory_ + "/security/aaa/.aaa_domain_socket_fs");
  request.send(aaa_sim_test::register_request());
  EXPECT_THAT(program.output_line(), HasSubstr("register request"));
  EXPECT_EQ(program.output_line(), "0\n");
  EXPECT_EQ(program.exit_status(), 0);
  EXPECT_EQ(program.remaining_errors(), "");
}

}  // namespace tap_end
}  // namespace dissect_test
