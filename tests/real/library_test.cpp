// The library, aaad-sim and FreeRADIUS, each in a process of its own.
#include <gmock/gmock.h>
#include <nettle/md5.h>

#include <thread>

#include "real/client.h"
#include "real/freeradius.h"
#include "real/radius_sim.h"
#include "real/skip.h"

namespace {

using real_test::Answer;
using real_test::Client;
using real_test::FreeRadius;
using real_test::item_of;
using real_test::kAccepted;
using real_test::kChallenge;
using real_test::kNoAnswer;
using real_test::kNoServer;
using real_test::kRejected;
using real_test::new_login;
using real_test::new_report;
using real_test::Process;
using real_test::RadiusFile;
using real_test::RadiusServer;
using real_test::RadiusSim;
using real_test::Record;
using real_test::SilentPort;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

// With a simulator, whose servers the test chooses, and a client of it.
class LibraryTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (FreeRadius::missing().empty()) server_ = std::make_unique<FreeRadius>();
  }
  static void TearDownTestSuite() { server_.reset(); }

  void SetUp() override { AAA_SKIP_FOR(FreeRadius::missing()); }
  void TearDown() override {
    if (HasFailure() && sim_) std::cerr << sim_->log() << server_->log();
  }

  void start(const RadiusFile& settings) {
    sim_ = std::make_unique<RadiusSim>(settings);
    client_ = std::make_unique<Client>(sim_->directory());
  }
  void start() { start({.servers = {server_of(*server_)}}); }

  Answer ask(const std::string& user, const std::string& password, std::uint32_t session_id = 0,
             const std::string& state = "") {
    authen_info login = new_login(user, session_id);
    login.user_password = item_of(password);
    login.state = item_of(state);
    last_session_ = login.session_id;
    return client_->ask(login);
  }
  // In the session of the last question.
  Answer answer(const Answer& challenge, const std::string& user, const std::string& word) {
    return ask(user, word, last_session_, challenge.state);
  }

  Answer ask_with_chap(const std::string& user, const std::string& password) {
    const std::string challenge = "sixteen bytes of";
    authen_info login = new_login(user);
    const std::string response = chap_response('\x07', password, challenge);
    login.chap_password = item_of(response);
    login.chap_challenge = item_of(challenge);
    return client_->ask(login);
  }

  static std::string chap_response(char identifier, const std::string& password,
                                   const std::string& challenge) {
    const std::string text = identifier + password + challenge;
    std::uint8_t digest[MD5_DIGEST_SIZE];
    md5_ctx context;
    nettle_md5_init(&context);
    nettle_md5_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
    nettle_md5_digest(&context, sizeof digest, digest);
    return identifier + std::string(reinterpret_cast<const char*>(digest), sizeof digest);
  }

  static inline std::unique_ptr<FreeRadius> server_;
  std::unique_ptr<RadiusSim> sim_;
  std::unique_ptr<Client> client_;
  std::uint32_t last_session_ = 0;
};

TEST_F(LibraryTest, PasswordIsAccepted) {
  start();
  const Answer answer = ask("alice", "secret");
  EXPECT_EQ(answer.code, kAccepted);
  EXPECT_EQ(answer.user, "alice");
  EXPECT_EQ(answer.reply, "Welcome, alice");
  EXPECT_EQ(answer.session_class, "class of alice");
}

TEST_F(LibraryTest, WrongPasswordIsRejected) {
  start();
  const Answer answer = ask("alice", "wrong");
  EXPECT_EQ(answer.code, kRejected);
  EXPECT_EQ(answer.reply, "No access");
  EXPECT_EQ(answer.session_class, "");
}

TEST_F(LibraryTest, UnknownUserIsRejected) {
  start();
  EXPECT_EQ(ask("nobody", "secret").code, kRejected);
}

TEST_F(LibraryTest, ChapResponseIsAcceptedOrRejected) {
  start();
  EXPECT_EQ(ask_with_chap("alice", "secret").code, kAccepted);
  EXPECT_EQ(ask_with_chap("alice", "wrong").code, kRejected);
}

TEST_F(LibraryTest, TimeLimitAndVlanReachTheClient) {
  start();
  const Answer answer = ask("vera", "secret");
  EXPECT_EQ(answer.code, kAccepted);
  EXPECT_EQ(answer.session_timeout, 3600U);
  EXPECT_EQ(answer.tunnel_type, 13U);   // VLAN
  EXPECT_EQ(answer.tunnel_medium, 6U);  // IEEE 802
  EXPECT_EQ(answer.vlan, "42");
}

TEST_F(LibraryTest, ChallengesAreAnsweredRoundByRound) {
  start();
  const Answer token = ask("olga", "secret");
  EXPECT_EQ(token.code, kChallenge);
  EXPECT_EQ(token.reply, "Token: ");
  EXPECT_THAT(token.state, SizeIs(16));
  const Answer pin = answer(token, "olga", "123456");
  EXPECT_EQ(pin.code, kChallenge);
  EXPECT_EQ(pin.reply, "PIN: ");
  EXPECT_EQ(answer(pin, "olga", "9876").code, kAccepted);
}

TEST_F(LibraryTest, WrongAnswerToAChallengeIsRejected) {
  start();
  const Answer token = ask("otto", "secret");
  EXPECT_EQ(token.code, kChallenge);
  EXPECT_EQ(answer(token, "otto", "654321").code, kRejected);
}

TEST_F(LibraryTest, ServerWithAnotherSecretIsAsIfItWereSilent) {
  RadiusServer stranger = server_of(*server_);
  stranger.secret = "another secret";
  start({.servers = {stranger}, .timeout_ms = 100, .tries = 2});
  EXPECT_EQ(ask("alice", "secret").code, kNoServer);
}

TEST_F(LibraryTest, SilentServerIsReported) {
  const SilentPort silent;
  start({.servers = {{silent.text(), silent.text()}}, .timeout_ms = 100, .tries = 2});
  EXPECT_EQ(ask("alice", "secret").code, kNoServer);
}

TEST_F(LibraryTest, SecondServerAnswersForASilentOne) {
  const SilentPort silent;
  start({.servers = {{silent.text(), silent.text()}, server_of(*server_)}, .tries = 2});
  EXPECT_EQ(ask("alice", "secret").code, kAccepted);
  EXPECT_EQ(ask("alice", "wrong").code, kRejected);
}

TEST_F(LibraryTest, RestartedServerIsUsedAgain) {
  FreeRadius server;
  start({.servers = {server_of(server)}, .tries = 2});
  EXPECT_EQ(ask("alice", "secret").code, kAccepted);
  server.stop();
  EXPECT_EQ(ask("alice", "secret").code, kNoServer);
  server.start();
  EXPECT_EQ(ask("alice", "secret").code, kAccepted);
}

TEST_F(LibraryTest, UserWithoutAnAnswerDoesNotDelayOthers) {
  start({.servers = {server_of(*server_)}, .timeout_ms = 5000, .tries = 1});
  authen_info mute = new_login("mute");
  const std::string password = "secret";
  mute.user_password = item_of(password);
  ASSERT_EQ(aaa_user_req_authen(&mute), 0);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ask("alice", "secret").code, kAccepted);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
}

TEST_F(LibraryTest, AccountingReturnsTheClassAndWhatWasCounted) {
  start();
  const std::size_t before = server_->accounting().size();
  const Answer accepted = ask("alice", "secret");
  acct_info report = new_report("alice", last_session_, 1);
  report.class_ = item_of(accepted.session_class);
  std::strcpy(reinterpret_cast<char*>(report.octets100_a), "tty7");
  std::strcpy(reinterpret_cast<char*>(report.octets128_a), "192.0.2.1");
  EXPECT_EQ(client_->ask(report).code, kAccepted);
  report.code_a = 3;
  report.num_b = 60;
  EXPECT_EQ(client_->ask(report).code, kAccepted);
  report.code_a = 2;
  report.num_b = 90;
  report.num_c = 1000;
  report.num_d = 2000;
  report.num_g = 1;
  report.num_i = 10;
  report.num_j = 20;
  report.num_e = 1;
  EXPECT_EQ(client_->ask(report).code, kAccepted);

  const std::vector<Record> records = server_->accounting(before + 3);
  ASSERT_THAT(records, SizeIs(before + 3));
  char session[9];
  std::snprintf(session, sizeof session, "%08x", last_session_);
  for (std::size_t i = before; i < records.size(); ++i)
    EXPECT_THAT(records[i],
                AllOf(Contains(Pair("User-Name", "alice")), Contains(Pair("NAS-Port-Id", "tty7")),
                      Contains(Pair("Acct-Session-Id", session)),
                      Contains(Pair("Calling-Station-Id", "192.0.2.1")),
                      Contains(Pair("NAS-Identifier", "real-test")),
                      Contains(Pair("Class", "0x636c617373206f6620616c696365"))));
  EXPECT_THAT(records[before], Contains(Pair("Acct-Status-Type", "Start")));
  EXPECT_THAT(records[before + 1], AllOf(Contains(Pair("Acct-Status-Type", "Interim-Update")),
                                         Contains(Pair("Acct-Session-Time", "60"))));
  EXPECT_THAT(
      records[before + 2],
      AllOf(Contains(Pair("Acct-Status-Type", "Stop")), Contains(Pair("Acct-Session-Time", "90")),
            Contains(Pair("Acct-Input-Octets", "1000")),
            Contains(Pair("Acct-Output-Octets", "2000")),
            Contains(Pair("Acct-Output-Gigawords", "1")),
            Contains(Pair("Acct-Input-Packets", "10")), Contains(Pair("Acct-Output-Packets", "20")),
            Contains(Pair("Acct-Terminate-Cause", "User-Request"))));
}

TEST_F(LibraryTest, NeitherPasswordsNorSecretsAreLogged) {
  start();
  ask("alice", "secret");
  ask("alice", "hunter2hunter2");
  EXPECT_THAT(sim_->log(), HasSubstr("authen request"));
  for (const char* word : {"hunter2", FreeRadius::kSecret, "\"secret\""})
    EXPECT_THAT(sim_->log(), Not(HasSubstr(word)));
}

// Every third user is unknown. The class tells that nobody gets the answer of another.
TEST_F(LibraryTest, ThousandLoginsFromEightThreadsAreAllAnswered) {
  start();
  constexpr const char* kUsers[] = {"alice", "vera", "nobody"};
  std::atomic<int> answered{0};
  std::vector<std::thread> threads;
  for (int first = 0; first < 8; ++first)
    threads.emplace_back([&, first] {
      const std::string password = "secret";
      for (int i = first; i < 1000; i += 8) {
        const std::string user = kUsers[i % 3];
        authen_info login = new_login(user);
        login.user_password = item_of(password);
        const Answer answer = client_->ask(login);
        EXPECT_EQ(answer.code, user == "nobody" ? kRejected : kAccepted);
        EXPECT_EQ(answer.session_class, user == "nobody" ? "" : "class of " + user);
        answered += answer.code != kNoAnswer;
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(answered, 1000);
}

// RADIUS over UDP to a proxy beside the daemon, and over TLS from there to the server.
class ProxyTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    if (IsSkipped()) return;
    AAA_SKIP_FOR(real_test::missing_program({"radsecproxy"}));
    far_server_ = std::make_unique<FreeRadius>(FreeRadius::Listeners::kUdpAndTls);
    const std::string port = real_test::free_ports(1).front();
    write_configuration(port);
    proxy_ = std::make_unique<Process>(
        std::vector<std::string>{"radsecproxy", "-f", "-d", "4", "-c", file("proxy.conf")},
        file("proxy.log"));
    ASSERT_TRUE(proxy_->prints("listening for udp"));
    start({.servers = {{port, port}}, .timeout_ms = 2000, .tries = 3});
  }

  std::string file(const std::string& name) const { return far_server_->directory() + "/" + name; }

  void write_configuration(const std::string& port) const {
    const std::string& certificate = far_server_->certificate();
    std::ofstream(file("proxy.conf"))
        << "ListenUDP 127.0.0.1:" << port << "\n"
        << "tls default {\n  CACertificateFile " << certificate << "\n  CertificateFile "
        << certificate << "\n  CertificateKeyFile " << far_server_->key() << "\n}\n"
        << "client 127.0.0.1 {\n  type udp\n  secret " << FreeRadius::kSecret << "\n}\n"
        << "server localhost {\n  host 127.0.0.1\n  type tls\n  port " << far_server_->radsec_port()
        << "\n  secret radsec\n  certificateNameCheck off\n}\n"
        << "realm * {\n  server localhost\n  accountingServer localhost\n}\n";
  }

  std::unique_ptr<FreeRadius> far_server_;
  std::unique_ptr<Process> proxy_;
};

TEST_F(ProxyTest, LoginsAndAccountingGoThroughTls) {
  const Answer accepted = ask("alice", "secret");
  EXPECT_EQ(accepted.code, kAccepted) << proxy_->output() << far_server_->log();
  EXPECT_EQ(accepted.session_class, "class of alice");
  EXPECT_EQ(ask("alice", "wrong").code, kRejected);
  acct_info report = new_report("alice", last_session_, 1);
  report.class_ = item_of(accepted.session_class);
  EXPECT_EQ(client_->ask(report).code, kAccepted);
  EXPECT_THAT(far_server_->accounting(1)[0],
              Contains(Pair("Class", "0x636c617373206f6620616c696365")));
}

}  // namespace
