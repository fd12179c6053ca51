// aaa-probe watch.
#include <csignal>

#include "probe_fixture.h"

namespace probe_test {
namespace {

class ProbeWatch : public ProbeTest {
 protected:
  // Starts it and reads what it says first.
  std::unique_ptr<test::ChildProgram> watch(std::vector<std::string> options) {
    options.push_back("watch");
    auto program = std::make_unique<test::ChildProgram>(
        kBindingProgram, bound_arguments(std::move(options)), directory_.path());
    return program;
  }

  void expect_end(test::ChildProgram& program, int number) {
    program.signal(number);
    EXPECT_EQ(program.remaining_output(), "");
    EXPECT_EQ(program.remaining_errors(), "");
    EXPECT_EQ(program.exit_status(), 0);
    EXPECT_TRUE(sim_.wait_for_message(received(2))) << "not deregistered";
  }

  std::string line_after(test::ChildProgram& program, const aaa_sim::EventMessage& message) {
    EXPECT_EQ(sim_.send({}, message), 1u);
    return program.output_line();
  }
};

TEST_F(ProbeWatch, NoticesAreRecords) {
  const auto program = watch({});
  EXPECT_EQ(program->output_line(), "event: registered\n");
  const std::string rest = test::word_bytes(77) + "alice";
  sim_.send({}, aaa_sim::delete_notice(1, aaa_sim::bytes_of(rest)));
  for (const char* line : {"\n", "notice: deletion\n", "kind: 1\n", "session: 77\n"})
    EXPECT_EQ(program->output_line(), line);
  EXPECT_EQ(program->output_line(), "user: alice\n");
  expect_end(*program, SIGINT);
}

TEST_F(ProbeWatch, EveryMessageIsAJsonLine) {
  const auto program = watch({"--json"});
  EXPECT_EQ(program->output_line(), "{\"event\":\"registered\"}\n");
  const std::string rest = test::word_bytes(77) + "alice";
  EXPECT_EQ(line_after(*program, aaa_sim::delete_notice(1, aaa_sim::bytes_of(rest))),
            R"({"notice":"deletion","kind":1,"session":77,"user":"alice"})"
            "\n");
  std::string coa = test::word_bytes({78, 600}) + "bob";
  coa.resize(76);
  coa += test::word_bytes({13, 6}) + "42";
  EXPECT_EQ(line_after(*program, aaa_sim::coa_request(aaa_sim::bytes_of(coa))),
            R"({"notice":"change of authorization","session":78,"user":"bob",)"
            R"("session_timeout":600,"tunnel_type":13,"tunnel_medium_type":6,"vlan":"42"})"
            "\n");
  authen_info authen{};
  authen.session_id = 9;
  std::memcpy(authen.chars65_a, "carol", 5);
  author_info author{};
  author.session_id = 10;
  acct_info acct{};
  acct.session_id = 11;
  EXPECT_EQ(line_after(*program, aaa_sim::authen_group_request("g", authen)),
            R"({"message":"authentication by a group","session":9,"user":"carol","group":"g"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::author_group_request("g", author)),
            R"({"message":"authorization by a group","session":10,"group":"g"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::acct_group_request("g", acct)),
            R"({"message":"accounting by a group","session":11,"group":"g"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::enable_authentication(authen)),
            R"({"message":"enable authentication","session":9,"user":"carol"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::local_eap_authentication(authen)),
            R"({"message":"local EAP authentication","session":9,"user":"carol"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::deletion_request(1, 2, 3)),
            R"({"message":"deletion request","word":[1,2,3]})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::radext_result({1, 2, 3, 4, 5, 6})),
            R"({"message":"result of a RADIUS extension","word":[1,2,3,4,5,6]})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::password_update(5, {"dave", "old-1", "new-1"})),
            R"({"message":"password update","code":5,"user":"dave"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::ldap_question(
                                     "g", {.session_id = 12, .base = "dc=x", .filter = "a=b"})),
            R"({"message":"LDAP search","session":12,"base":"dc=x","filter":"a=b","group":"g"})"
            "\n");
  EXPECT_EQ(line_after(*program, aaa_sim::ldap_answer({.session_id = 12})),
            R"({"message":"LDAP answer","session":12,"entries":0})"
            "\n");
  const std::string body = result_body(1, 13);
  const auto bytes = aaa_sim::bytes_of(body);
  EXPECT_EQ(line_after(*program, {103, 13, {bytes.begin(), bytes.end()}}),
            R"({"message":"result","session":13,"code":1})"
            "\n");
  expect_end(*program, SIGTERM);
}

TEST_F(ProbeWatch, ChangesAndARestartAreEvents) {
  const auto program = watch({"--json", "--model", "watcher"});
  EXPECT_EQ(program->output_line(), "{\"event\":\"registered\"}\n");
  ASSERT_EQ(sim_.clients().size(), 1u);
  EXPECT_EQ(sim_.clients()[0].model, "watcher");
  EXPECT_EQ(line_after(*program, aaa_sim::method_list_change()),
            "{\"event\":\"method lists changed\"}\n");
  const auto event_after = [&](std::uint32_t aaa_status::*word) {
    sim_.change([word](aaa_sim::Settings& settings) { settings.status.*word = 1; });
    EXPECT_EQ(sim_.send_status(), 1u);
    return program->output_line();
  };
  EXPECT_EQ(event_after(&aaa_status::acct_status), "{\"event\":\"acct_status changed\"}\n");
  EXPECT_EQ(event_after(&aaa_status::acct_period), "{\"event\":\"acct_period changed\"}\n");
  EXPECT_EQ(event_after(&aaa_status::acct_start_fail_policy),
            "{\"event\":\"acct_start_fail_policy changed\"}\n");
  EXPECT_EQ(event_after(&aaa_status::login_service_check_mode),
            "{\"event\":\"login_service_check_mode changed\"}\n");
  sim_.close_connections();
  EXPECT_EQ(program->output_line(), "{\"event\":\"connection lost\"}\n");
  EXPECT_EQ(program->output_line(), "{\"event\":\"registered again\"}\n");
  expect_end(*program, SIGTERM);
}

}  // namespace
}  // namespace probe_test
