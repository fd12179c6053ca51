// LDAP searches: the question 140 and the answer 141.
#include "dispatch_test.h"
#include "records.h"

namespace test {
namespace {

constexpr char question_function[] = "aaalib_ipc_msg_proc_ldap_search_entry_req";
constexpr char answer_function[] = "aaalib_ipc_msg_proc_notify_ldap_search_entry_result";

class LdapMessages : public DispatchTest {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    reg_info info = {};
    info.ldap_search_entry_req_cb = [](ldap_search_info* search, char* group_name) {
      note_unlocked(words({search->head.session_id}) + bytes_of(group_name, 256));
    };
    info.ldap_search_result_cb = [](ldap_search_result* result) {
      note_unlocked(words({result->head.session_id}));
    };
    use(info);
  }
  // The lines behind the dispatch's own.
  static std::size_t further_lines(const LogCapture& log) { return log.lines().size() - 1; }

  LibraryCounters counters_;
};

Bytes question(std::uint32_t session_id) {
  return Bytes(1, 4) + text("corp") + ldap_search_body(session_id);
}

TEST_F(LdapMessages, AQuestionPassesTheSearchAndTheGroupName) {
  deliver(140, question(0x01020304));
  EXPECT_EQ(once(words({0x01020304}) + text("corp") + Bytes(252, 0)), noted());
  EXPECT_EQ(counters_.blocks_allocated(), counters_.blocks_freed());
}

TEST_F(LdapMessages, TheLongestGroupNameIsTerminated) {
  deliver(140, Bytes(256, 255) + ldap_search_body(5));
  EXPECT_EQ(once(words({5}) + Bytes(255, 255) + Bytes(1, 0)), noted());
}

TEST_F(LdapMessages, AQuestionIsLoggedWithTheHeadersWords) {
  const OpenGate gate;
  const LogCapture log;
  deliver(140, question(5), 4711);
  expect_debug_line(log, "groupName[corp], aaaid[16843009], session_id[4711], msg_type[140]\r\n",
                    question_function);
  EXPECT_EQ(1u, further_lines(log));
}

TEST_F(LdapMessages, AQuestionIsLoggedWithoutACallbackAndNotDecoded) {
  const OpenGate gate;
  const LogCapture log;
  const Bytes body = question(5);
  use({});
  const LibraryCounters counters;
  deliver(140, body, 4711);
  EXPECT_EQ(1u, further_lines(log));
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_F(LdapMessages, AQuestionThatCannotBeDecodedIsLogged) {
  const OpenGate gate;
  const LogCapture log;
  deliver(140, Bytes(1, 1) + text("x") + Bytes(39, 0));
  expect_debug_line(log, "parse ldap search req info fail\r\n", question_function);
  EXPECT_EQ(2u, further_lines(log));
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(counters_.blocks_allocated(), counters_.blocks_freed());
}

TEST_F(LdapMessages, AQuestionShorterThanItsNameIsDroppedWithoutALine) {
  const OpenGate gate;
  const LogCapture log;
  deliver(140, Bytes(1, 10) + Bytes(9, 'x'));
  deliver(140, Bytes(1, 0));
  EXPECT_EQ(2u, log.lines().size());
}

TEST_F(LdapMessages, AQuestionAsLongAsItsNameIsReadOn) {
  const OpenGate gate;
  const LogCapture log;
  deliver(140, Bytes(1, 10) + Bytes(10, 'x'), 1);
  deliver(140, Bytes(2, 0), 1);
  EXPECT_EQ(1u, log.count("groupName[xxxxxxxxxx], aaaid[16843009], session_id[1], "
                          "msg_type[140]\r\n"));
  EXPECT_EQ(1u, log.count("groupName[], aaaid[16843009], session_id[1], msg_type[140]\r\n"));
}

TEST_F(LdapMessages, AnAnswerPassesTheResult) {
  deliver(141, ldap_result_body(0x01020304));
  EXPECT_EQ(once(words({0x01020304})), noted());
  EXPECT_EQ(counters_.blocks_allocated(), counters_.blocks_freed());
}

TEST_F(LdapMessages, AnAnswerIsLoggedWithTheHeadersWords) {
  const OpenGate gate;
  const LogCapture log;
  deliver(141, ldap_result_body(5), 4711);
  expect_debug_line(log, "aaaid[16843009], session_id[4711], msg_type[141]\r\n", answer_function);
  EXPECT_EQ(1u, further_lines(log));
}

TEST_F(LdapMessages, AnAnswerIsLoggedWithoutACallbackAndNotDecoded) {
  const OpenGate gate;
  const LogCapture log;
  const Bytes body = ldap_result_body(5);
  use({});
  const LibraryCounters counters;
  deliver(141, body, 4711);
  EXPECT_EQ(1u, further_lines(log));
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_F(LdapMessages, AnAnswerThatCannotBeDecodedIsLogged) {
  const OpenGate gate;
  const LogCapture log;
  deliver(141, Bytes(23, 0));
  expect_debug_line(log, "parse ldap search result info fail\r\n", answer_function);
  EXPECT_EQ(2u, further_lines(log));
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(counters_.blocks_allocated(), counters_.blocks_freed());
}

}  // namespace
}  // namespace test
