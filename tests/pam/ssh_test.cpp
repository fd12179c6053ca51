// The module in sshd, with the stock client.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "aaad_sim.h"
#include "pam/wrapped_program.h"
#include "support/eventually.h"

namespace pam_test {
namespace {

using aaa_sim::received;
using testing::ElementsAre;
using testing::HasSubstr;

// An address of the test's own: others that run beside it take ports too.
std::string own_host() {
  const auto pid = static_cast<unsigned>(::getpid());
  return "127." + std::to_string(128 + (pid >> 16) % 127) + "." + std::to_string(pid >> 8 & 255) +
         "." + std::to_string(pid & 255);
}

sockaddr_in own_address(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  EXPECT_EQ(::inet_pton(AF_INET, own_host().c_str(), &address.sin_addr), 1);
  return address;
}

std::uint16_t free_port() {
  const aaa_sim::FileDescriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = own_address(0);
  socklen_t size = sizeof address;
  EXPECT_EQ(::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_EQ(::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  return ntohs(address.sin_port);
}

std::string contents(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

class SshTest : public testing::Test {
 protected:
  SshTest() {
    // The daemon's socket must be open to the programs' user.
    mask_ = ::umask(0);
    sim_.add_user({.name = "alice", .password = "secret", .class_attribute = "staff"});
    sim_.start();
    programs_.configure("sshd", {"auth", "account", "session"}, "timeout=10 nodelay");
    programs_.write("passwd", contents(file("passwd")) +
                                  "sshd:x:64999:64999::/nonexistent:/usr/sbin/nologin\n");
    make_host_key();
    programs_.write(
        "sshd_config",
        "ListenAddress " + own_host() + ":" + std::to_string(port_) + "\nHostKey " +
            file("host_key") +
            "\nUsePAM yes\nPasswordAuthentication yes\nKbdInteractiveAuthentication yes\n"
            "PubkeyAuthentication no\nPrintMotd no\nPidFile none\n");
    programs_.write("askpass",
                    "#!/bin/sh\nprintf '%s\\n' \"$1\" >> " + file("questions") +
                        "\ncase $1 in *Token*) cat " + file("token") + " ;; *) cat " +
                        file("password") + " ;; esac\n",
                    0755);
    programs_.write("password", "secret\n");
    programs_.write("token", "123456\n");
    sshd_.emplace(kSetpriv,
                  programs_.command({"/usr/sbin/sshd", "-D", "-e", "-f", file("sshd_config")}), "");
    EXPECT_TRUE(test::eventually([this] { return sshd_listens(); })) << sshd_->error_line();
  }
  ~SshTest() override {
    sshd_->signal(SIGTERM);
    EXPECT_NE(sshd_->exit_status(), -1) << "sshd does not end";
    ::umask(mask_);
  }

  std::string file(const std::string& name) const { return programs_.directory() + "/" + name; }

  void make_host_key() {
    test::ChildProgram keygen(kSetpriv,
                              programs_.command({"/usr/bin/ssh-keygen", "-q", "-t", "ed25519", "-N",
                                                 "", "-f", file("host_key")}),
                              "");
    EXPECT_EQ(keygen.exit_status(), 0) << keygen.remaining_errors();
  }

  bool sshd_listens() const {
    const aaa_sim::FileDescriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = own_address(port_);
    return ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }

  std::vector<std::string> ssh(const std::string& methods, const std::string& user,
                               const std::string& command) const {
    return {"--pdeathsig",
            "KILL",
            "/usr/bin/env",
            "HOME=" + programs_.directory(),
            "SSH_ASKPASS=" + file("askpass"),
            "SSH_ASKPASS_REQUIRE=force",
            "/usr/bin/ssh",
            "-F",
            "/dev/null",
            "-T",
            "-p",
            std::to_string(port_),
            "-o",
            "StrictHostKeyChecking=no",
            "-o",
            "UserKnownHostsFile=/dev/null",
            "-o",
            "NumberOfPasswordPrompts=1",
            "-o",
            "LogLevel=ERROR",
            "-o",
            "PreferredAuthentications=" + methods,
            user + "@" + own_host(),
            command};
  }

  // Returns the exit status of the command, or 255.
  int log_in(const std::string& methods, const std::string& user = "alice",
             const std::string& command = "env") {
    test::ChildProgram client(kSetpriv, ssh(methods, user, command), "");
    client.close_input();
    output_ = client.remaining_output();
    errors_ = client.remaining_errors();
    return client.exit_status();
  }

  // The reports of one session, start and stop.
  void expect_reports(std::uint32_t session_id) {
    for (const std::size_t report : {0u, 1u}) {
      const auto message = sim_.wait_for_message(received(AAA_MSG_ACCT_REQ), sim_.kTimeout, report);
      ASSERT_TRUE(message) << "no report";
      EXPECT_EQ(message->header.id, session_id);
      EXPECT_EQ(message->body()[8], report + 1);
      EXPECT_STREQ(text(*message, 163), "alice");
      EXPECT_STREQ(text(*message, 532), "127.0.0.1");
      EXPECT_EQ(std::string(text(*message, 784), 5), "staff");
    }
  }

  static const char* text(const aaa_sim::Message& message, std::size_t offset) {
    return reinterpret_cast<const char*>(message.bytes.data()) + aaa_sim::kHeaderSize + offset;
  }

  std::uint32_t last_session() {
    std::uint32_t id = 0;
    for (const aaa_sim::Message& message : sim_.messages()) {
      if (received(AAA_MSG_AUTHEN_REQ)(message)) id = message.header.id;
    }
    return id;
  }

  const std::uint16_t port_ = free_port();
  mode_t mask_;
  WrappedPrograms programs_;
  aaa_sim::AaadSim sim_{programs_.aaad_directory()};
  std::optional<test::ChildProgram> sshd_;
  std::string output_;
  std::string errors_;
};

TEST_F(SshTest, LogsInWithAPassword) {
  EXPECT_EQ(log_in("password"), 0) << errors_;
  EXPECT_THAT(output_, HasSubstr("USER=alice"));
  EXPECT_THAT(output_, Not(HasSubstr("AAA_SESSION")));
  expect_reports(last_session());
}

TEST_F(SshTest, LogsInWithAnAnswerToAChallenge) {
  sim_.change([](aaa_sim::Settings& settings) {
    aaa_sim::User& alice = settings.users.front();
    alice.password = "123456";
    alice.verdict = aaa_sim::Verdict::challenge;
    alice.reply_message = "Token: ";
    alice.state = "step-2";
  });
  EXPECT_EQ(log_in("keyboard-interactive"), 0) << errors_;
  EXPECT_THAT(contents(file("questions")), HasSubstr("Token: "));
  EXPECT_THAT(output_, Not(HasSubstr("AAA_SESSION")));
  expect_reports(last_session());
}

TEST_F(SshTest, RefusesAWrongPassword) {
  programs_.write("password", "wrong\n");
  EXPECT_EQ(log_in("password"), 255);
  EXPECT_THAT(errors_, HasSubstr("Permission denied"));
  EXPECT_EQ(log_in("keyboard-interactive"), 255);
  EXPECT_EQ(sim_.count(received(AAA_MSG_AUTHEN_REQ)), 2u);
  EXPECT_EQ(sim_.count(received(AAA_MSG_ACCT_REQ)), 0u);
}

TEST_F(SshTest, SendsNothingForAnAccountThatSshdDoesNotKnow) {
  sim_.add_user({.name = "mallory", .password = "secret"});
  for (const char* methods : {"password", "keyboard-interactive"})
    EXPECT_EQ(log_in(methods, "mallory"), 255);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(SshTest, ReportsTheStopToADaemonThatWasRestartedDuringTheSession) {
  test::ChildProgram client(kSetpriv, ssh("password", "alice", "echo open; cat"), "");
  EXPECT_EQ(client.output_line(), "open\n");
  const std::uint32_t session = last_session();
  sim_.stop();
  sim_.start();
  client.close_input();
  EXPECT_EQ(client.exit_status(), 0) << client.remaining_errors();
  expect_reports(session);
}

TEST_F(SshTest, WaitsForADaemonThatRestartsDuringTheLogin) {
  sim_.stop();
  test::ChildProgram client(kSetpriv, ssh("password", "alice", "true"), "");
  client.close_input();
  EXPECT_TRUE(test::eventually([this] { return !contents(file("questions")).empty(); }));
  sim_.start();
  EXPECT_EQ(client.exit_status(), 0) << client.remaining_errors();
  expect_reports(last_session());
}

}  // namespace
}  // namespace pam_test
