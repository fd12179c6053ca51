// aaa-dissect --tap, with clients that send literal bytes.
#include <chrono>
#include <memory>
#include <thread>

#include <nlohmann/json.hpp>

#include "dissect/tap_fixture.h"

namespace dissect_test {
namespace tap {

using aaa_sim::received;
using aaa_sim::Role;

TEST_F(TapTest, ForwardsBothWaysAndShowsEverythingInOrder) {
  start_tap();
  {
    RawClient client = register_client();
    client.request.send(test::message_bytes(3, std::string(8, '\0')));
    EXPECT_EQ(client.request.receive(24), test::message_bytes(3, hex("01000000 64000000")));
    sim_.send_message({}, Role::event, 122, 9);
    EXPECT_EQ(client.event.receive(16), test::message_with_id(9, 122));
  }
  tap_->end();
  std::string types;
  for (const std::string& line : tap_->captured()) {
    const auto message = nlohmann::json::parse(line);
    types += message["from"].get<std::string>() + message["type"].dump() + " ";
    EXPECT_EQ(message["client"], "netd/" + std::to_string(::getpid()));
  }
  EXPECT_EQ(types, "client0 aaad100 client0 aaad102 client3 aaad3 aaad122 ");
  EXPECT_EQ(lines_of(tap_->printed()) >= 7, true);
  EXPECT_THAT(tap_->printed(), HasSubstr("122"));
}

// The daemon takes the two for one client by the process.
TEST_F(TapTest, TheDaemonSeesAProcessOfTheTapForEachClient) {
  start_tap({"--quiet"});
  const RawClient client = register_client(), second = register_client("two2");
  ASSERT_TRUE(sim_.wait_for_clients(2));
  const pid_t process = sim_.clients()[0].pid;
  EXPECT_NE(process, ::getpid());
  EXPECT_EQ(sim_.clients()[1].pid, process) << "both are of this process";
  EXPECT_THAT(contents_of("/proc/" + std::to_string(process) + "/status"),
              HasSubstr("\nPPid:\t" + std::to_string(tap_->program().pid()) + "\n"));
  tap_->end();
  EXPECT_NE(::kill(process, 0), 0) << "a process is left";
  EXPECT_EQ(tap_->printed(), "");
}

TEST_F(TapTest, AClientThatClosesIsClosedAtTheDaemon) {
  start_tap();
  std::optional<RawClient> client = register_client();
  ASSERT_TRUE(sim_.wait_for_connections(2));
  client.reset();
  EXPECT_TRUE(sim_.wait_for_connections(0));
  tap_->end();
}

TEST_F(TapTest, ADaemonThatClosesIsClosedForTheClient) {
  start_tap();
  RawClient client = register_client();
  sim_.close_connections();
  EXPECT_TRUE(client.request.is_closed_by_peer());
  EXPECT_TRUE(client.event.is_closed_by_peer());
  EXPECT_FALSE(client.request.try_send(kHeartbeat)) << "closed in one direction only";
  RawClient again = register_client();
  sim_.stop();
  EXPECT_TRUE(again.request.is_closed_by_peer());
  tap_->end();
}

// What the daemon wrote before arrives; then the end does.
TEST_F(TapTest, TheLastWordsOfADaemonArrive) {
  start_tap();
  sim_.set_fault(Role::request, 2, aaa_sim::Fault::close_after);
  for (int i = 0; i < 50; ++i) {
    RawClient client = register_client();
    client.request.send(test::message_bytes(2, "netd"));
    EXPECT_EQ(client.request.receive(16), test::message_bytes(101)) << i;
    EXPECT_TRUE(client.request.is_closed_by_peer()) << i;
  }
  tap_->end();
}

TEST_F(TapTest, WithoutADaemonClientsAreClosedAndItIsSaidOnce) {
  sim_.stop();
  start_tap();
  for (int i = 0; i < 3; ++i) {
    RawConnection client(tap_->socket());
    EXPECT_TRUE(client.is_closed_by_peer());
  }
  EXPECT_EQ(tap_->program().error_line(), "aaa-dissect: no connection to " + sim_.socket_path() +
                                              ": No such file or directory\n");
  sim_.start();
  { const RawClient client = register_client(); }
  tap_->end();
}

// More than the tap, and the sockets, keep for one that does not read.
TEST_F(TapTest, ASlowDaemonKeepsTheClientFromWritingAndGetsAll) {
  start_tap({"--quiet"});
  RawClient client = register_client();
  let_aaad_read(false);
  constexpr int kMessages = 20;
  std::thread writer([&client] {
    for (int i = 0; i < kMessages; ++i)
      client.request.send(large_message(static_cast<char>('a' + i)));
  });
  ASSERT_TRUE(test::eventually([&] { return tap_->capture().size() > 400000; }));
  EXPECT_LT(tap_->capture().size(), 1600000u) << "more than is forwarded";
  let_aaad_read(true);
  writer.join();
  ASSERT_TRUE(sim_.wait_for_message(received(10), std::chrono::seconds(10), kMessages - 1));
  std::string order;
  for (const auto& message : sim_.messages())
    if (message.header.type == 10) {
      EXPECT_EQ(message.bytes.size(), 200016u);
      EXPECT_EQ(message.bytes.front(), 1);
      EXPECT_EQ(message.bytes[16], message.bytes.back());
      order += static_cast<char>(message.bytes.back());
    }
  EXPECT_EQ(order, "abcdefghijklmnopqrst");
  tap_->end();
  EXPECT_EQ(tap_->captured(10), std::size_t{kMessages});
}

TEST_F(TapTest, ASlowClientGetsAll) {
  start_tap({"--quiet"});
  RawClient client = register_client();
  constexpr int kMessages = 20;
  for (int i = 0; i < kMessages; ++i) {
    const std::string body(200000, static_cast<char>('a' + i));
    sim_.send_message({}, Role::event, 105, 0, test::view(body));
  }
  // Others are served meanwhile.
  { const RawClient other = register_client("two2"); }
  for (int i = 0; i < kMessages; ++i)
    ASSERT_EQ(client.event.receive_message(),
              test::message_bytes(105, std::string(200000, static_cast<char>('a' + i))));
  tap_->end();
  EXPECT_EQ(tap_->captured(105), std::size_t{kMessages});
}

TEST_F(TapTest, WritesOfSingleBytesAreOneMessage) {
  start_tap();
  RawClient client = register_client();
  for (const char byte : test::message_with_id(1, 17, "123"))
    client.request.send(std::string(1, byte));
  ASSERT_TRUE(sim_.wait_for_message(received(17)));
  tap_->end();
  EXPECT_EQ(tap_->captured(17), 1u);
}

TEST_F(TapTest, WhatIsNoMessageIsForwardedAsItIs) {
  start_tap({"--secrets"});
  RawClient client = register_client();
  const std::string noise = "\2\3 some noise that is no message";
  sim_.send_raw({}, Role::event, test::view(noise));
  EXPECT_EQ(client.event.receive(noise.size()), noise);
  sim_.send_message({}, Role::event, 122, 0);
  EXPECT_EQ(client.event.receive(16), test::message_bytes(122));
  client.request.send(hex("01010101 00000000 05000000 ffffff7f") + noise);
  EXPECT_TRUE(sim_.wait_for_note("bad body length"));
  EXPECT_TRUE(client.request.is_closed_by_peer());
  tap_->end();
  const std::string capture = tap_->capture();
  EXPECT_NE(capture.find(noise), std::string::npos);
  EXPECT_NE(capture.find("no message: bad marker"), std::string::npos);
  EXPECT_NE(capture.find(hex("01010101 00000000 05000000 ffffff7f") + noise), std::string::npos);
  EXPECT_NE(capture.find("no message: bad body length"), std::string::npos);
  EXPECT_EQ(tap_->captured(122), 1u);
}

TEST_F(TapTest, WhatMayBeASecretIsMaskedAndForwarded) {
  start_tap();
  RawClient client = register_client();
  const std::string noise = "no header, then wonderland";
  sim_.send_raw({}, Role::event, test::view(noise));
  EXPECT_EQ(client.event.receive(noise.size()), noise);
  sim_.send_raw({}, Role::event, test::view("wonderland"));
  EXPECT_EQ(client.event.receive(10), "wonderland");
  tap_->end();
  EXPECT_THAT(tap_->capture(), Not(HasSubstr("wonderland")));
  EXPECT_THAT(tap_->capture(), Not(HasSubstr("no header")));
  EXPECT_THAT(tap_->printed(), Not(HasSubstr("wonderland")));
}

// The header's length ends the message where its password begins.
TEST_F(TapTest, APasswordBehindAShortLengthIsMasked) {
  start_tap();
  RawClient client = register_client();
  client.request.send(test::message_bytes(5, test::item_bytes(1, std::string(1184, '\0'))) +
                      "TopSecretPassword");
  EXPECT_TRUE(client.request.is_closed_by_peer());
  tap_->end();
  EXPECT_EQ(tap_->captured(5), 1u);
  EXPECT_THAT(tap_->capture(), HasSubstr(std::string(17, '*')));
  EXPECT_THAT(tap_->capture(), Not(HasSubstr("TopS")));
  EXPECT_THAT(tap_->printed(), Not(HasSubstr("TopS")));
}

TEST_F(TapTest, AMessageThatEndsTooEarlyIsShown) {
  start_tap();
  {
    RawClient client = register_client();
    client.request.send(test::message_bytes(17, "12345678").substr(0, 20));
  }
  EXPECT_TRUE(sim_.wait_for_note("closed inside a message"));
  tap_->end();
  EXPECT_THAT(tap_->capture(), HasSubstr("the connection was closed inside the message"));
  EXPECT_EQ(tap_->captured(17), 1u);
}

// The end of what a client writes is passed on; it can still read.
TEST_F(TapTest, AHalfClosedConnectionStaysHalfOpen) {
  sim_.stop();
  aaa_sim::Listener daemon(sim_.socket_path());
  start_tap();
  const auto client = aaa_sim::Listener::connect(tap_->socket());
  aaa_sim::FileDescriptor accepted = accept_from(daemon);
  ASSERT_EQ(::send(client.get(), kHeartbeat.data(), 16, MSG_NOSIGNAL), 16);
  ::shutdown(client.get(), SHUT_WR);
  std::string bytes(64, '\0');
  ASSERT_TRUE(test::eventually([&] { return ::recv(accepted.get(), bytes.data(), 64, 0) == 16; }));
  ASSERT_TRUE(test::eventually([&] { return ::recv(accepted.get(), bytes.data(), 64, 0) == 0; }));
  ASSERT_EQ(::send(accepted.get(), kHeartbeat.data(), 16, MSG_NOSIGNAL), 16);
  EXPECT_TRUE(test::eventually([&] { return ::recv(client.get(), bytes.data(), 64, 0) == 16; }));
  accepted.reset();
  EXPECT_TRUE(test::eventually([&] { return ::recv(client.get(), bytes.data(), 64, 0) == 0; }));
  tap_->end();
}

TEST_F(TapTest, TheDirectoryOfARunningDaemonIsRefused) {
  aaa_sim::AaadSim other(directory_);
  other.start();
  const Outcome outcome = dissect({"--tap", directory_, "-d", work_.path() + "/aaad"});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_EQ(outcome.errors, "aaa-dissect: " + other.socket_path() + ": Address already in use\n");
}

TEST_F(TapTest, AnotherTapDoesNotEmptyTheCapture) {
  start_tap();
  { const RawClient client = register_client(); }
  ASSERT_TRUE(test::eventually([&] { return tap_->capture().find("netd") != std::string::npos; }));
  const std::string bytes = tap_->capture();
  const auto errors_with = [this](const std::string& directory) {
    return dissect({"--tap", directory, "-d", work_.path() + "/aaad", "--write",
                    directory_ + "/tapped"})
        .errors;
  };
  EXPECT_EQ(errors_with(directory_),
            "aaa-dissect: " + tap_->socket() + ": Address already in use\n");
  EXPECT_THAT(tap_->capture(), StartsWith(bytes));
  EXPECT_EQ(errors_with(work_.path() + "/other"),
            "aaa-dissect: " + directory_ + "/tapped: another program writes a capture to it\n");
  EXPECT_THAT(tap_->capture(), StartsWith(bytes));
  tap_->end();
}

TEST_F(TapTest, WithoutDescriptorsClientsWait) {
  BoundProgram program(
      "/bin/bash", {"-c", std::string("ulimit -n 24; exec ") + AAA_DISSECT_PROGRAM +
                              " --quiet --tap " + directory_ + " -d " + work_.path() + "/aaad"});
  program.error_line();
  const std::string socket = directory_ + "/security/aaa/.aaa_domain_socket_fs";
  {
    std::vector<std::unique_ptr<RawConnection>> clients;
    for (int i = 0; i < 20; ++i) {
      clients.push_back(std::make_unique<RawConnection>(socket));
      clients.back()->send(aaa_sim_test::register_request());
    }
    EXPECT_THAT(program.error_line(), HasSubstr("Too many open files"));
    // Each makes room for the next one.
    for (auto& client : clients) {
      EXPECT_EQ(client->receive(20).size(), 20u);
      client.reset();
    }
  }
  ASSERT_TRUE(sim_.wait_for_connections(0));
  { const RawClient client(socket); }
  program.signal(SIGTERM);
  EXPECT_EQ(program.exit_status(), 0);
  EXPECT_EQ(program.remaining_errors(), "") << "it is said again";
}

}  // namespace tap
}  // namespace dissect_test
