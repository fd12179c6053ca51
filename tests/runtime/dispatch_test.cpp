// Which handler a message reaches, what comes of bodies that are missing or cannot be read, and
// what the dispatch itself logs.
#include "runtime/dispatch_test.h"

namespace test::dispatch {

constexpr char kFunction[] = "aaa_lib_async_msg_proc";

class Dispatch : public DispatchTest {};

TEST_F(Dispatch, EveryMessageIsLoggedWithItsProcessTypeAndLength) {
  const OpenLog log;
  std::snprintf(g_aaalib_process_name, sizeof g_aaalib_process_name, "dot1x");
  deliver(105, zeros(559));
  expect_only_line(log, kFunction,
                   "dot1x: aaa lib receive message from aaad type (notify del msg), len(559)\r\n");
}

TEST_F(Dispatch, TheLineComesBeforeTheHandler) {
  const OpenLog log;
  std::size_t lines = 0;
  in_callback([&](const std::string&) { lines = log.lines().size(); });
  deliver(122);
  EXPECT_EQ(1u, lines);
}

TEST_F(Dispatch, AnUnknownTypeIsDroppedWithALine) {
  for (const std::uint32_t type :
       {0u, 100u, 101u, 104u, 114u, 124u, 129u, 131u, 133u, 139u, 142u, 0xffffffffu}) {
    const OpenLog log;
    deliver(type, zeros(1000));
    expect_line(log, kFunction,
                "async socket receive unknown message " +
                    std::to_string(static_cast<std::int32_t>(type)) + ".\r\n");
    EXPECT_EQ(2u, log.lines().size());
    EXPECT_EQ(aaad_.own(), g_aaa_client_cb.async_fd) << "a deregister response closes nothing";
  }
  const OpenLog log;
  deliver(0xffffffff);
  expect_line(log, kFunction, ": aaa lib receive message from aaad type (Unknown msg), len(0)\r\n");
}

using Handler = void (*)(const aaa_ipc_header*, const void*);

struct Delivery {
  std::uint32_t type;
  Handler handler;
  std::string body;
  std::string told;
  // A body that must be dropped, and how many lines that makes with the dispatch's own.
  std::string unreadable = "";
  std::size_t lines = 1;
};

const std::string name_in_buffer = "corp" + zeros(252);

std::vector<Delivery> one_of_each() {
  return {
      {103, aaalib_ipc_msg_proc_notify_result, result_body(7), "result " + word_bytes({7}),
       zeros(100)},
      {105, aaalib_ipc_msg_proc_notify_del_msg, std::string(560, 'n'),
       "deleted " + std::string(560, 'n'), zeros(559)},
      {109, aaalib_ipc_msg_proc_authen_group_req, named("corp", authen_body(7)),
       "group " + word_bytes({7}) + name_in_buffer, named("corp", zeros(100))},
      {110, aaalib_ipc_msg_proc_author_group_req, named("corp", author_body(7)),
       "group " + word_bytes({7}) + name_in_buffer, named("corp", zeros(100))},
      {111, aaalib_ipc_msg_proc_acct_group_req, named("corp", acct_body(7)),
       "group " + word_bytes({7}) + name_in_buffer, named("corp", zeros(100))},
      {112, aaalib_ipc_msg_proc_gs_valid_req, std::string(396, 'g'),
       "valid? " + std::string(396, 'g') + "gggg" + word_bytes({396}), zeros(395)},
      {121, aaalib_ipc_msg_proc_enable_authen, authen_body(7), "enable " + word_bytes({7}),
       zeros(100)},
      {123, aaalib_ipc_msg_proc_del_msg_req, word_bytes({0x10203040, 2, 0xffffffff, 7}),
       "delete " + word_bytes({0x10203040, 2, 0xffffffff}), zeros(11)},
      {125, aaalib_ipc_msg_proc_add_radext_result, std::string(24, 'r'),
       "radext " + std::string(24, 'r'), zeros(23)},
      {126, aaalib_ipc_msg_proc_notify_coa_req, std::string(720, 'c'),
       "coa " + std::string(720, 'c') + zeros(1), zeros(719)},
      {127, aaalib_ipc_msg_proc_localeap_authen, authen_body(7), "localeap " + word_bytes({7}),
       zeros(100)},
      {140, aaalib_ipc_msg_proc_ldap_search_entry_req, named("corp", search_body(7)),
       "search " + word_bytes({7}) + name_in_buffer, named("corp", zeros(39)), 3},
      {141, aaalib_ipc_msg_proc_notify_ldap_search_entry_result, found_body(7),
       "found " + word_bytes({7}), zeros(23), 3},
  };
}

TEST_F(Dispatch, EachTypeReachesItsCallbackAndNoOtherAndFreesItsBlocks) {
  for (const Delivery& one : one_of_each()) {
    const LibraryCounters counters;
    EXPECT_THAT(told_by(one.type, one.body), ElementsAre(one.told)) << "type " << one.type;
    EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed()) << "type " << one.type;
  }
  EXPECT_THAT(told_by(113, "who"), ElementsAre("online? " + zeros(8) + "who"));
  EXPECT_THAT(told_by(122), ElementsAre("event " + word_bytes({3})));
}

TEST_F(Dispatch, HandlersCanBeCalledByName) {
  for (const Delivery& one : one_of_each()) {
    const aaa_ipc_header header = {0x01010101, 0, one.type,
                                   static_cast<std::uint32_t>(one.body.size())};
    one.handler(&header, one.body.data());
    EXPECT_EQ(one.told, noted().back()) << "type " << one.type;
  }
  EXPECT_EQ(one_of_each().size(), noted().size());
}

TEST_F(Dispatch, MessagesWithoutACallbackAreDropped) {
  use({});
  for (const Delivery& one : one_of_each())
    expect_dropped(one.type, one.body);
  deliver(113, "who");
  deliver(122);
}

TEST_F(Dispatch, BodiesThatAreTooShortOrCannotBeReadAreDropped) {
  for (const Delivery& one : one_of_each()) {
    const OpenLog log;
    expect_dropped(one.type, one.unreadable);
    EXPECT_EQ(one.lines, log.lines().size()) << "type " << one.type;
  }
}

TEST_F(Dispatch, WithAClosedGateNothingIsLogged) {
  const LogCapture log;
  for (const Delivery& one : one_of_each()) {
    deliver(one.type, one.body);
    deliver(one.type, one.unreadable);
    deliver(one.type, std::string(3, '\xff'));
  }
  deliver(128, word_bytes({1, 0, 0, 0, 0}));
  deliver(101);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Dispatch, EveryHandlerThatReadsABodyReturnsAtOnceWithoutOne) {
  std::vector<Delivery> readers = one_of_each();
  readers.push_back({102, aaalib_ipc_msg_proc_aaa_info_notify, "", ""});
  readers.push_back({106, aaalib_ipc_msg_proc_aaa_debug_info, "", ""});
  readers.push_back({128, aaalib_ipc_msg_proc_backend_update_user_pwd, "", ""});
  const OpenLog log;
  for (const Delivery& one : readers) {
    const LibraryCounters counters;
    const aaa_ipc_header header = {0x01010101, 0, one.type, 4096};
    one.handler(&header, nullptr);
    EXPECT_THAT(noted(), IsEmpty()) << "type " << one.type;
    EXPECT_TRUE(counters.all_unchanged()) << "type " << one.type;
    EXPECT_EQ(0u, counters.blocks_allocated()) << "type " << one.type;
    EXPECT_THAT(log.lines(), IsEmpty()) << "type " << one.type;
    EXPECT_EQ(1u, g_aaa_status.debug);
  }
  EXPECT_EQ("", answers());
}

}  // namespace test::dispatch
