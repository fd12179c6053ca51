// Which handler a message reaches, and what the dispatch itself logs.
#include "dispatch_test.h"

#include "records.h"

namespace test {
namespace {

constexpr char function_name[] = "aaa_lib_async_msg_proc";

class Dispatch : public DispatchTest {
 protected:
  void TearDown() override {
    g_aaalib_process_name[0] = '\0';
    DispatchTest::TearDown();
  }
};

TEST_F(Dispatch, EveryMessageIsLoggedWithItsProcessTypeAndLength) {
  const OpenGate gate;
  const LogCapture log;
  std::snprintf(g_aaalib_process_name, sizeof g_aaalib_process_name, "dot1x");
  deliver(105, Bytes(559, 0));
  expect_debug_line(log,
                    "dot1x: aaa lib receive message from aaad type (notify del msg), len(559)\r\n",
                    function_name);
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(Dispatch, TheLineComesBeforeTheHandler) {
  static const LogCapture* log = nullptr;
  const OpenGate gate;
  const LogCapture capture;
  log = &capture;
  reg_info info = {};
  info.aaa_event_cb = [](std::uint32_t) {
    note(words({static_cast<std::uint32_t>(log->lines().size())}));
    return 0;
  };
  use(info);
  deliver(122);
  EXPECT_EQ(once(words({1})), noted());
}

TEST_F(Dispatch, AnUnknownTypeIsDroppedWithALine) {
  const OpenGate gate;
  for (const std::uint32_t type :
       {0u, 100u, 101u, 104u, 114u, 124u, 129u, 131u, 133u, 139u, 142u}) {
    const LogCapture log;
    deliver(type, Bytes(1000, 0));
    expect_debug_line(log, "async socket receive unknown message " + std::to_string(type) + ".\r\n",
                      function_name);
    EXPECT_EQ(2u, log.lines().size());
  }
}

TEST_F(Dispatch, ATypeFarBeyondTheTableIsUnknownToo) {
  const OpenGate gate;
  const LogCapture log;
  deliver(0xffffffff);
  expect_debug_line(log, "async socket receive unknown message -1.\r\n", function_name);
  expect_debug_line(log, ": aaa lib receive message from aaad type (Unknown msg), len(0)\r\n",
                    function_name);
}

TEST_F(Dispatch, ADeregisterResponseClosesNothing) {
  const OpenGate gate;
  const LogCapture log;
  deliver(101);
  EXPECT_EQ(aaad_.own(), g_aaa_client_cb.async_fd);
  expect_debug_line(log, "async socket receive unknown message 101.\r\n", function_name);
}

// Every callback notes its name.
reg_info client_of_everything() {
  reg_info info = {};
  info.notify_result_cb = [](result_info*) { note(text("result")); };
  info.notify_del_msg_cb = [](const void*) { note(text("del notice")); };
  info.notify_coa_req_cb = [](const void*) { note(text("coa")); };
  info.reserved_cb = [] { note(text("reserved")); };
  info.ldap_search_result_cb = [](ldap_search_result*) { note(text("ldap result")); };
  info.authen_group_req_cb = [](authen_info*, char*) { note(text("authen group")); };
  info.author_group_req_cb = [](author_info*, char*) { note(text("author group")); };
  info.acct_group_req_cb = [](acct_info*, char*) { note(text("acct group")); };
  info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t) { note(text("del req")); };
  info.gs_valid_req_cb = [](const void*, std::uint32_t, std::uint32_t) {
    note(text("gs valid"));
    return 0;
  };
  info.get_online_info_cb = [](void*, const void*) { note(text("online info")); };
  info.enable_authen_cb = [](authen_info*) { note(text("enable authen")); };
  info.add_radext_result_cb = [](const void*) { note(text("radext")); };
  info.localeap_authen_cb = [](authen_info*) { note(text("localeap")); };
  info.ldap_search_entry_req_cb = [](ldap_search_info*, char*) { note(text("ldap search")); };
  info.aaa_event_cb = [](std::uint32_t event) {
    note(words({event}));
    return 0;
  };
  return info;
}

struct Delivery {
  std::uint32_t type;
  Bytes body;
  Bytes told;
};

std::vector<Delivery> one_of_each() {
  const Bytes no_name(1, 0);
  return {
      {103, result_body(1), text("result")},
      {105, Bytes(560, 0), text("del notice")},
      {109, no_name + authen_body(1), text("authen group")},
      {110, no_name + author_body(1), text("author group")},
      {111, no_name + acct_body(1), text("acct group")},
      {112, Bytes(396, 0), text("gs valid")},
      {113, Bytes(1, 0), text("online info")},
      {121, authen_body(1), text("enable authen")},
      {122, {}, words({3})},
      {123, Bytes(12, 0), text("del req")},
      {125, Bytes(24, 0), text("radext")},
      {126, Bytes(720, 0), text("coa")},
      {127, authen_body(1), text("localeap")},
      {140, no_name + ldap_search_body(1), text("ldap search")},
      {141, ldap_result_body(1), text("ldap result")},
  };
}

TEST_F(Dispatch, EachTypeReachesItsCallbackAndNoOther) {
  use(client_of_everything());
  for (const Delivery& one : one_of_each()) {
    noted().clear();
    deliver(one.type, one.body);
    EXPECT_EQ(once(one.told), noted()) << "type " << one.type;
  }
}

TEST_F(Dispatch, MessagesWithoutACallbackAreDropped) {
  use({});
  const std::uint32_t before = live_blocks();
  for (const Delivery& one : one_of_each())
    deliver(one.type, one.body);
  EXPECT_EQ(before, live_blocks());
}

TEST_F(Dispatch, WithAClosedGateNothingIsLogged) {
  const LogCapture log;
  use(client_of_everything());
  for (const Delivery& one : one_of_each()) {
    deliver(one.type, one.body);
    deliver(one.type, Bytes(3, 0xff));
  }
  deliver(128, words({1, 0, 0, 0, 0}));
  deliver(101);
  EXPECT_TRUE(log.lines().empty());
}

using Handler = void (*)(const aaa_ipc_header*, const void*);

struct Named {
  std::uint32_t type;
  Handler handler;
};

// The handlers that look at a body.
constexpr Named readers[] = {
    {102, aaalib_ipc_msg_proc_aaa_info_notify},
    {103, aaalib_ipc_msg_proc_notify_result},
    {105, aaalib_ipc_msg_proc_notify_del_msg},
    {106, aaalib_ipc_msg_proc_aaa_debug_info},
    {109, aaalib_ipc_msg_proc_authen_group_req},
    {110, aaalib_ipc_msg_proc_author_group_req},
    {111, aaalib_ipc_msg_proc_acct_group_req},
    {112, aaalib_ipc_msg_proc_gs_valid_req},
    {121, aaalib_ipc_msg_proc_enable_authen},
    {123, aaalib_ipc_msg_proc_del_msg_req},
    {125, aaalib_ipc_msg_proc_add_radext_result},
    {126, aaalib_ipc_msg_proc_notify_coa_req},
    {127, aaalib_ipc_msg_proc_localeap_authen},
    {128, aaalib_ipc_msg_proc_backend_update_user_pwd},
    {140, aaalib_ipc_msg_proc_ldap_search_entry_req},
    {141, aaalib_ipc_msg_proc_notify_ldap_search_entry_result},
};

TEST_F(Dispatch, EveryHandlerThatReadsABodyReturnsAtOnceWithoutOne) {
  const OpenGate gate;
  use(client_of_everything());
  for (const Named& one : readers) {
    const LogCapture log;
    const LibraryCounters counters;
    const aaa_ipc_header header = {0x01010101, 0, one.type, 4096};
    one.handler(&header, nullptr);
    EXPECT_TRUE(noted().empty()) << "type " << one.type;
    EXPECT_TRUE(counters.all_unchanged()) << "type " << one.type;
    EXPECT_EQ(0u, counters.blocks_allocated()) << "type " << one.type;
    EXPECT_TRUE(log.lines().empty()) << "type " << one.type;
    EXPECT_EQ(1u, g_aaa_status.debug);
  }
  EXPECT_EQ(Bytes(), answers());
}

TEST_F(Dispatch, HandlersCanBeCalledByName) {
  use(client_of_everything());
  for (const Named& one : readers) {
    for (const Delivery& delivery : one_of_each()) {
      if (delivery.type != one.type) continue;
      noted().clear();
      const aaa_ipc_header header = {0x01010101, 0, one.type,
                                     static_cast<std::uint32_t>(delivery.body.size())};
      one.handler(&header, delivery.body.data());
      EXPECT_EQ(once(delivery.told), noted()) << "type " << one.type;
    }
  }
}

}  // namespace
}  // namespace test
