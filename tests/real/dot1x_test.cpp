// The sample authenticator between wpa_supplicant and, through aaad-sim, FreeRADIUS: EAPOL on a
// pair of virtual Ethernet interfaces.
#include <gmock/gmock.h>

#include "real/freeradius.h"
#include "real/radius_sim.h"
#include "real/skip.h"
#include "real/supplicant.h"
#include "real/veth_pair.h"

namespace {

using real_test::Credentials;
using real_test::FreeRadius;
using real_test::Process;
using real_test::RadiusSim;
using real_test::Record;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

using Attribute = testing::Matcher<Record>;

Attribute has(const std::string& name, const std::string& value) {
  return Contains(Pair(name, value));
}

class Dot1xTest : public testing::Test {
 protected:
  void SetUp() override {
    AAA_SKIP_FOR(FreeRadius::missing());
    AAA_SKIP_FOR(real_test::missing_program({"wpa_supplicant"}));
    AAA_SKIP_FOR(real_test::VethPair::missing());
    wire_ = std::make_unique<real_test::VethPair>();
    AAA_SKIP_FOR(wire_->is_up() ? "" : "the kernel has no virtual Ethernet interfaces");
    server_ = std::make_unique<FreeRadius>();
    dynamic_port_ = real_test::free_ports(1).front();
    sim_ = std::make_unique<RadiusSim>(real_test::RadiusFile{
        .servers = {server_of(*server_)}, .dynamic_authorization_port = dynamic_port_});
  }
  void TearDown() override {
    if (HasFailure() && sim_) std::cerr << dot1x_->output() << sim_->log() << server_->log();
  }

  // Starts the supplicant, and beside it the authenticator, which then finds it waiting.
  void connect(const Credentials& credentials) {
    start_supplicant(credentials);
    dot1x_ = std::make_unique<Process>(
        std::vector<std::string>{AAA_DOT1X, "-i", "port", "-d", sim_->directory()},
        directory_.path() + "/dot1x.log");
  }

  void start_supplicant(const Credentials& credentials) {
    const std::string file =
        supplicant_file(directory_.path(), server_->certificate(), credentials);
    supplicant_ = std::make_unique<Process>(
        std::vector<std::string>{"wpa_supplicant", "-dd", "-Dwired", "-ihost", "-c", file},
        directory_.path() + "/supplicant.log");
    ASSERT_TRUE(supplicant_->prints("Associated with 01:80:c2:00:00:03"));
  }

  // As its user would: logoff or logon.
  void tell_supplicant(const std::string& word) {
    Process command({"wpa_cli", "-p", directory_.path() + "/control", "-i", "host", word},
                    directory_.path() + "/wpa_cli.log");
    EXPECT_EQ(command.exit_status(), 0) << command.output();
  }

  std::string disconnect(const std::string& attributes) {
    return real_test::radclient(directory_.path(), dynamic_port_, "disconnect", attributes);
  }

  test::TemporaryDirectory directory_;
  std::unique_ptr<real_test::VethPair> wire_;
  std::string dynamic_port_;
  std::unique_ptr<FreeRadius> server_;
  std::unique_ptr<RadiusSim> sim_;
  std::unique_ptr<Process> dot1x_, supplicant_;
};

class Dot1xMethodTest : public Dot1xTest, public testing::WithParamInterface<const char*> {};

TEST_P(Dot1xMethodTest, OpensThePortForTheRightPassword) {
  connect({GetParam()});
  EXPECT_TRUE(supplicant_->prints("CTRL-EVENT-EAP-SUCCESS"));
  EXPECT_TRUE(dot1x_->prints("alice: port open, VLAN none, session timeout 0\n"));
}

TEST_P(Dot1xMethodTest, KeepsThePortClosedForAWrongOne) {
  connect({GetParam(), "alice", "wrong"});
  EXPECT_TRUE(supplicant_->prints("CTRL-EVENT-EAP-FAILURE"));
  EXPECT_TRUE(dot1x_->prints("alice: rejected\n"));
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("port open")));
  EXPECT_THAT(server_->accounting(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Methods, Dot1xMethodTest, testing::Values("MD5", "TTLS", "PEAP"),
                         [](const auto& method) { return std::string(method.param); });

TEST_F(Dot1xTest, SaysWhichVlanTheServerHasChosen) {
  connect({"MD5", "vera"});
  EXPECT_TRUE(dot1x_->prints("vera: port open, VLAN 42, session timeout 3600\n"));
}

TEST_F(Dot1xTest, TellsTheServerWhoAsksAndWhere) {
  connect({"MD5"});
  ASSERT_TRUE(dot1x_->prints("port open"));
  for (const Record& request : server_->access_requests())
    EXPECT_THAT(request, AllOf(has("User-Name", "alice"), has("NAS-Port-Type", "Ethernet"),
                               has("Service-Type", "Framed-User"), has("NAS-Port-Id", "port"),
                               has("NAS-Identifier", "real-test"),
                               Contains(Pair("Calling-Station-Id", testing::SizeIs(17))),
                               Contains(Pair("Called-Station-Id", testing::SizeIs(17)))));
}

TEST_F(Dot1xTest, AccountsForTheTimeThatThePortWasOpenWithTheClassOfTheAccept) {
  connect({"MD5"});
  ASSERT_TRUE(dot1x_->prints("alice: accounting start taken\n"));
  dot1x_->signal(SIGTERM);
  EXPECT_EQ(dot1x_->exit_status(), 0);
  EXPECT_THAT(dot1x_->output(), testing::EndsWith("alice: port closed: Admin reboot\n"
                                                  "alice: accounting stop taken\n"));
  const auto common = AllOf(has("User-Name", "alice"), has("NAS-Port-Id", "port"),
                            has("Class", "0x636c617373206f6620616c696365"));
  const std::vector<Record> records = server_->accounting(2);
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_THAT(records[0], AllOf(common, has("Acct-Status-Type", "Start")));
  EXPECT_THAT(records[1], AllOf(common, has("Acct-Status-Type", "Stop"),
                                has("Acct-Terminate-Cause", "Admin-Reboot")));
  EXPECT_EQ(records[0].at("Acct-Session-Id"), records[1].at("Acct-Session-Id"));
}

TEST_F(Dot1xTest, DisconnectRequestClosesThePort) {
  connect({"PEAP"});
  ASSERT_TRUE(dot1x_->prints("alice: accounting start taken\n"));
  const std::string session = server_->accounting(1).front().at("Acct-Session-Id");
  EXPECT_THAT(disconnect("User-Name = alice, Acct-Session-Id = " + session),
              HasSubstr("Received Disconnect-ACK"));
  EXPECT_TRUE(
      dot1x_->prints("alice: disconnected by aaad\n"
                     "alice: port closed: Admin reset\n"
                     "alice: accounting stop taken\n"));
  EXPECT_TRUE(supplicant_->prints("EAP: Received EAP-Failure"));
  EXPECT_THAT(server_->accounting(2)[1],
              AllOf(has("Acct-Status-Type", "Stop"), has("Acct-Terminate-Cause", "Admin-Reset"),
                    has("Acct-Session-Id", session)));
}

TEST_F(Dot1xTest, DisconnectRequestForAnotherSessionLeavesThePortOpen) {
  connect({"MD5"});
  ASSERT_TRUE(dot1x_->prints("alice: accounting start taken\n"));
  EXPECT_THAT(disconnect("User-Name = bob"), HasSubstr("Received Disconnect-NAK"));
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("port closed")));
}

TEST_F(Dot1xTest, AuthenticatesAgainAfterTheSessionTimeoutAndKeepsTheSession) {
  connect({"MD5", "rita"});
  ASSERT_TRUE(dot1x_->prints("rita: port stays open, VLAN none, session timeout 1\n", 2));
  EXPECT_THAT(server_->accounting(1), SizeIs(1));
}

TEST_F(Dot1xTest, SupplicantThatLogsOffClosesThePort) {
  connect({"MD5"});
  ASSERT_TRUE(dot1x_->prints("alice: accounting start taken\n"));
  tell_supplicant("logoff");
  EXPECT_TRUE(dot1x_->prints(
      "alice: logs off\nalice: port closed: User request\nalice: accounting stop taken\n"));
}

TEST_F(Dot1xTest, ServesOnAfterARestartOfTheDaemon) {
  connect({"MD5"});
  ASSERT_TRUE(dot1x_->prints("alice: accounting start taken\n"));
  sim_->stop();
  EXPECT_TRUE(dot1x_->prints("the link to aaad was lost\n"));
  sim_->start();
  EXPECT_TRUE(dot1x_->prints("registered again\n"));
  tell_supplicant("logoff");
  EXPECT_TRUE(dot1x_->prints("alice: accounting stop taken\n"));
  tell_supplicant("logon");
  EXPECT_TRUE(dot1x_->prints("alice: port open", 2));
}

}  // namespace
