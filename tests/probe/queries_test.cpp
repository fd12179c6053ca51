// aaa-probe query, passwd and ldap.
#include "probe_fixture.h"

namespace probe_test {
namespace {

class ProbeQueries : public ProbeTest {};

TEST_F(ProbeQueries, StatusPrintsEachWord) {
  sim_.change([](aaa_sim::Settings& settings) {
    settings.status.new_model = 1;
    settings.status.acct_period = 60;
    settings.status.acct_status = 1;
    settings.status.pro_status = 3;
    settings.status.local_user_public_account = 1;
    settings.status.acct_start_fail_policy = 4;
    settings.status.login_service_check_mode = 5;
  });
  expect(run({"query", "status"}), 0,
         "new_model: 1\nacct_period: 60\nacct_status: 1\npro_status: 3\n"
         "local_user_public_account: 1\nacct_start_fail_policy: 4\nlogin_service_check_mode: 5\n");
  expect(run({"query", "status", "--json"}), 0,
         R"({"new_model":1,"acct_period":60,"acct_status":1,"pro_status":3,)"
         R"("local_user_public_account":1,"acct_start_fail_policy":4,)"
         R"("login_service_check_mode":5})"
         "\n");
}

TEST_F(ProbeQueries, MethodListsExistOrNot) {
  sim_.change([](aaa_sim::Settings& settings) {
    settings.method_lists = {{.kind = 2, .name = "console", .state = 6}};
  });
  expect(run({"query", "method-list", "console", "--kind", "2"}), 0,
         "method_list: console\nexists: true\nstate: 6\n");
  expect(run({"--json", "query", "method-list", "vty"}), 1,
         R"({"method_list":"vty","exists":false,"state":0})"
         "\n");
}

TEST_F(ProbeQueries, GroupsAreRegisteredAndTheirStateReported) {
  expect(run({"query", "group", "radius-1"}), 0, "group: radius-1\nregistered: true\n");
  EXPECT_TRUE(sim_.reports().radius_group_states.empty());
  expect(run({"query", "group", "radius-1", "--state", "2"}), 0,
         "group: radius-1\nregistered: true\nreported_state: 2\n");
  EXPECT_EQ(sim_.reports().radius_group_states["radius-1"], 2u);
  sim_.set_answer(13, [](const aaa_sim::Request&) -> aaa_sim::Replies {
    return {{aaa_sim::Role::request, 108, 0, {1, 0, 0, 0}}};
  });
  expect(run({"query", "group", "radius-1"}), 1, "group: radius-1\nregistered: false\n");
}

TEST_F(ProbeQueries, SessionIdIsOneOfAaad) {
  sim_.change([](aaa_sim::Settings& settings) { settings.next_session_id = 4711; });
  expect(run({"query", "session-id"}), 0, "session: 4711\n");
}

class ProbePasswd : public ProbeTest {
 protected:
  ProbePasswd() { sim_.put_local_user({.name = "carol", .string_19 = "rosebud"}); }
};

TEST_F(ProbePasswd, BothPasswordsAreLinesOfStandardInput) {
  expect(run({"passwd", "carol", "--password-stdin"}, "rosebud\nxanadu-1\n"), 0,
         "result: changed\nuser: carol\n");
  EXPECT_EQ(sim_.local_user("carol")->string_19, "xanadu-1");
}

TEST_F(ProbePasswd, EitherCanBeInAFile) {
  expect(run({"passwd", "carol", "--password-stdin", "--new-password-file", file_with("xanadu-1")},
             "rosebud\n"),
         0, "result: changed\nuser: carol\n");
  EXPECT_EQ(sim_.local_user("carol")->string_19, "xanadu-1");
}

TEST_F(ProbePasswd, ARefusalSaysWhy) {
  expect(run({"passwd", "nobody", "--password-stdin"}, "rosebud\nxanadu-1\n"), 1,
         "result: unknown user\nuser: nobody\n");
  expect(run({"--json", "passwd", "carol", "--password-stdin"}, "guess\nxanadu-1\n"), 1,
         R"({"result":"wrong password","user":"carol"})"
         "\n");
  expect(run({"passwd", "carol", "--password-stdin"}, "rosebud\n\n"), 1,
         "result: new password not allowed\nuser: carol\n");
  sim_.set_answer(117, [](const aaa_sim::Request&) -> aaa_sim::Replies {
    return {{aaa_sim::Role::request, 117, 0, {9, 0, 0, 0}}};
  });
  expect(run({"passwd", "carol", "--password-stdin"}, "rosebud\nxanadu-1\n"), 1,
         "result: unknown code 9\nuser: carol\n");
  EXPECT_EQ(sim_.local_user("carol")->string_19, "rosebud");
}

TEST_F(ProbePasswd, TextsThatDoNotFitAreNotSent) {
  expect(run({"passwd", "carol", "--password-stdin"}, "rosebud\n" + std::string(157, 'x') + "\n"),
         64, "", "aaa-probe: name and passwords together have more than 168 bytes\n");
  expect(run({"passwd", "carol", "--password-stdin"}, "rosebud\n"), 64, "",
         "aaa-probe: no password on standard input\n");
  EXPECT_EQ(sim_.clients().size(), 0u);
}

class ProbeLdap : public ProbeTest {
 protected:
  ProbeLdap() {
    sim_.change([](aaa_sim::Settings& settings) {
      settings.directory = {
          {"uid=alice,dc=example", {{"mail", "a@b"}, {"mail", "a@c"}, {"uid", "alice"}}},
          {"uid=bob,dc=example", {{"mail", "b@b"}, {"photo", "\xff\xd8"}}}};
    });
  }
};

TEST_F(ProbeLdap, EntriesAreRecords) {
  expect(run({"ldap", "--base", "dc=example", "--filter", "(mail=*)"}), 0,
         "dn: uid=alice,dc=example\nmail: a@b\nmail: a@c\nuid: alice\n"
         "\ndn: uid=bob,dc=example\nmail: b@b\nphoto_hex: ffd8\n");
  expect(run({"ldap", "--json", "--base", "dc=example", "mail", "photo"}), 0,
         R"({"dn":"uid=alice,dc=example","mail":["a@b","a@c"]})"
         "\n"
         R"({"dn":"uid=bob,dc=example","mail":"b@b","photo_hex":"ffd8"})"
         "\n");
  expect(run({"ldap", "--filter", "(uid=carol)"}), 0, "");
}

TEST_F(ProbeLdap, AnErrorIsStatusOne) {
  const Outcome outcome = run({"ldap", "--filter", "(&(a=b)(c=d))"});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.output, testing::StartsWith("result: error\nerror: "));
}

}  // namespace
}  // namespace probe_test
