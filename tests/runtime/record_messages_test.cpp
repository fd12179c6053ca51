// Messages that carry a record: results (103), authentication for the client (121, 127), requests
// of groups (109 to 111), LDAP searches (140, 141).
#include "runtime/dispatch_test.h"
#include "support/message_pair.h"
#include "support/registered_test.h"

namespace test::record_messages {

class RecordMessages : public DispatchTest {
 protected:
  LibraryCounters counters_;
};

constexpr char kLocalEapLine[] = "send authen info to localeap\r\n";

TEST_F(RecordMessages, LocalEapIsLoggedBeforeTheCallbackAndAnEnableRequestIsNot) {
  const OpenLog log;
  std::size_t lines = 99;
  in_callback([&](const std::string&) { lines = log.count(kLocalEapLine); });
  deliver(121, authen_body(1));
  EXPECT_EQ(0u, lines);
  EXPECT_EQ(0u, log.count(kLocalEapLine));
  deliver(127, authen_body(1));
  EXPECT_EQ(1u, lines);
  expect_line(log, "aaalib_ipc_msg_proc_localeap_authen", kLocalEapLine);
}

struct GroupKind {
  std::uint32_t type;
  std::string (*body)(std::uint32_t session_id);
};

class GroupMessages : public RecordMessages, public testing::WithParamInterface<GroupKind> {};

TEST_P(GroupMessages, PassTheRecordAndTheNameInAZeroedBufferThatIsTerminated) {
  for (const std::size_t size : {0, 1, 10, 254, 255}) {
    std::string name(size, 'a');
    if (size > 1) name.back() = 'z';
    EXPECT_THAT(told_by(GetParam().type, named(name, GetParam().body(0x01020304))),
                ElementsAre("group " + word_bytes({0x01020304}) + name + zeros(256 - size)));
  }
}

TEST_P(GroupMessages, ABodyShorterThanItsNameIsDroppedAndNotDecoded) {
  const LibraryCounters counters;
  deliver(GetParam().type, "\x0a" + std::string(9, 'a'));
  deliver(GetParam().type, "\xff" + std::string(254, 'a'));
  EXPECT_THAT(noted(), IsEmpty());
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_P(GroupMessages, ABodyWithoutARecordIsDropped) {
  for (const std::string& body : {zeros(1), zeros(2), named(std::string(10, 'a'), "")})
    expect_dropped(GetParam().type, body);
}

INSTANTIATE_TEST_SUITE_P(Types, GroupMessages,
                         testing::Values(GroupKind{109, authen_body}, GroupKind{110, author_body},
                                         GroupKind{111, acct_body}),
                         [](const auto& tested) { return std::to_string(tested.param.type); });

TEST_F(RecordMessages, TheLongestGroupNameOfASearchIsTerminated) {
  const std::string longest(255, '\xff');
  EXPECT_THAT(told_by(140, "\xff" + longest + search_body(5)),
              ElementsAre("search " + word_bytes({5}) + longest + zeros(1)));
}

constexpr char kSearchFunction[] = "aaalib_ipc_msg_proc_ldap_search_entry_req";
constexpr char kFoundFunction[] = "aaalib_ipc_msg_proc_notify_ldap_search_entry_result";

// With a callback or without one, when the body is not decoded.
TEST_F(RecordMessages, LdapSearchesAreLoggedWithTheHeadersWords) {
  const std::string search = named("corp", search_body(5));
  const std::string found = found_body(5);
  for (const bool has_callback : {true, false}) {
    if (!has_callback) use({});
    const LibraryCounters counters;
    const OpenLog log;
    deliver(140, search, 4711);
    expect_line(log, kSearchFunction,
                "groupName[corp], aaaid[16843009], session_id[4711], msg_type[140]\r\n");
    EXPECT_EQ(2u, log.lines().size());
    deliver(141, found, 4711);
    expect_line(log, kFoundFunction, "aaaid[16843009], session_id[4711], msg_type[141]\r\n");
    EXPECT_EQ(4u, log.lines().size());
    EXPECT_EQ(has_callback, counters.blocks_allocated() > 0);
  }
}

TEST_F(RecordMessages, LdapSearchesThatCannotBeDecodedAreLogged) {
  const OpenLog log;
  expect_dropped(140, named("x", zeros(39)));
  expect_line(log, kSearchFunction, "parse ldap search req info fail\r\n");
  expect_dropped(141, zeros(23));
  expect_line(log, kFoundFunction, "parse ldap search result info fail\r\n");
}

TEST_F(RecordMessages, ASearchShorterThanItsNameIsDroppedWithoutALineAndOneAsLongIsReadOn) {
  const OpenLog log;
  deliver(140, "\x0a" + std::string(9, 'x'));
  deliver(140, zeros(1));
  EXPECT_EQ(2u, log.lines().size());
  deliver(140, "\x0a" + std::string(10, 'x'), 1);
  deliver(140, zeros(2), 1);
  EXPECT_EQ(1u, log.count("groupName[xxxxxxxxxx], aaaid[16843009], session_id[1], "
                          "msg_type[140]\r\n"));
  EXPECT_EQ(1u, log.count("groupName[], aaaid[16843009], session_id[1], msg_type[140]\r\n"));
}

class ResultMessages : public RecordMessages {
 protected:
  ResultMessages() { make_message_pair(); }
};

TEST_F(ResultMessages, AResultIsCountedBeforeTheCallbackAlsoWhenItCannotBeRead) {
  std::uint32_t counted = 0;
  in_callback([&](const std::string&) { counted = counters_.grown(16); });
  deliver(103, result_body(0x01020304));
  EXPECT_THAT(noted(), ElementsAre("result " + word_bytes({0x01020304})));
  EXPECT_EQ(1u, counted);
  EXPECT_EQ(1u, counters_.grown(16));
  expect_dropped(103, zeros(100));
  EXPECT_EQ(2u, counters_.grown(16));
  EXPECT_EQ(0u, counters_.grown(17));
  EXPECT_EQ("", datagram());
}

TEST_F(ResultMessages, WithoutACallbackTheRawBodyGoesToTheWaiter) {
  use({});
  const LibraryCounters counters;
  deliver(103, "any body, read or not");
  EXPECT_EQ("any body, read or not", datagram());
  EXPECT_EQ("", datagram());
  EXPECT_EQ(1u, counters.grown(17));
  EXPECT_EQ(0u, counters.grown(16));
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_F(ResultMessages, ANullBodyIsNotCounted) {
  const LibraryCounters counters;
  deliver(103);
  use({});
  deliver(103);
  EXPECT_TRUE(counters.all_unchanged());
  EXPECT_EQ("", datagram());
}

class AwaitedResult : public RegisteredTest {};

TEST_F(AwaitedResult, ABlockedThreadGetsAResultThatNoCallbackTakes) {
  register_client();
  forget_datagrams();
  send(AAA_MSG_NOTIFY_RESULT, result_body(9), 9);
  result_info* result = nullptr;
  ASSERT_EQ(0, aaa_user_get_result(9, 0, 10, &result));
  EXPECT_EQ(9u, result->sub.session_id);
  aaa_free_result_info(result);
}

}  // namespace test::record_messages
