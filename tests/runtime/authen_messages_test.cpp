// Authentication work for the client: 121 and 127.
#include <string>

#include "dispatch_test.h"
#include "records.h"

namespace test {
namespace {

constexpr char localeap_line[] = "send authen info to localeap\r\n";

class AuthenMessages : public DispatchTest, public testing::WithParamInterface<std::uint32_t> {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    reg_info info = {};
    info.enable_authen_cb = [](authen_info* authen) {
      note_unlocked(words({121, authen->session_id}));
    };
    info.localeap_authen_cb = [](authen_info* authen) {
      note_unlocked(words({127, authen->session_id}));
    };
    use(info);
  }
};

TEST_P(AuthenMessages, TheWholeBodyIsTheRecord) {
  deliver(GetParam(), authen_body(0x01020304));
  EXPECT_EQ(once(words({GetParam(), 0x01020304})), noted());
}

TEST_P(AuthenMessages, TheRecordIsFreedAfterTheCallbackOrWithoutOne) {
  const Bytes body = authen_body(1);
  const LibraryCounters counters;
  deliver(GetParam(), body);
  use({});
  deliver(GetParam(), body);
  EXPECT_GE(counters.blocks_allocated(), 2u);
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(AuthenMessages, ABodyThatCannotBeDecodedIsDroppedWithoutALine) {
  const OpenGate gate;
  const LogCapture log;
  deliver(GetParam(), Bytes(100, 0));
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(1u, log.lines().size());
}

INSTANTIATE_TEST_SUITE_P(Types, AuthenMessages, testing::Values(121, 127),
                         [](const auto& tested) { return std::to_string(tested.param); });

TEST_F(DispatchTest, OnlyLocalEapIsLogged) {
  const OpenGate gate;
  const LogCapture log;
  deliver(121, authen_body(1));
  EXPECT_EQ(0u, log.count(localeap_line));
  deliver(127, authen_body(1));
  EXPECT_EQ(1u, log.count(localeap_line));
  expect_debug_line(log, localeap_line, "aaalib_ipc_msg_proc_localeap_authen");
}

TEST_F(DispatchTest, LocalEapIsLoggedBeforeTheCallback) {
  static const LogCapture* log = nullptr;
  const OpenGate gate;
  const LogCapture capture;
  log = &capture;
  reg_info info = {};
  info.localeap_authen_cb = [](authen_info*) {
    note(words({static_cast<std::uint32_t>(log->count(localeap_line))}));
  };
  use(info);
  deliver(127, authen_body(1));
  EXPECT_EQ(once(words({1})), noted());
}

}  // namespace
}  // namespace test
