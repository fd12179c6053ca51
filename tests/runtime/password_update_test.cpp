// aaad asks for a password update: 128.
#include "runtime/receive/inbound.h"

#include "dispatch_test.h"
#include "support/scripted_calls.h"

namespace test {
namespace {

constexpr char update_function[] = "aaalib_ipc_msg_proc_backend_update_user_pwd";

Bytes counted(const Bytes& string) {
  return words({static_cast<std::uint32_t>(string.size())}) + string;
}

Bytes update_body(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  return words({code, 0xdddddddd}) + counted(text(s1)) + counted(text(s2)) + counted(text(s3));
}

// A call of the handler, as the bytes that its arguments show.
Bytes call(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  return words({code}) + text(s1) + text("|") + text(s2) + text("|") + text(s3);
}

class PasswordUpdate : public DispatchTest {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    handle_with([](std::uint32_t code, const char* s1, const char* s2, const char* s3) {
      note_unlocked(call(code, s1, s2, s3));
    });
  }
  void TearDown() override {
    handle_with(nullptr);
    DispatchTest::TearDown();
  }
  static void handle_with(aaa_user_pwd_update_fn handler) {
    aaa::store(aaa::g_aaa_user_pwd_update_req_handle, handler);
  }

  LibraryCounters counters_;
};

TEST_F(PasswordUpdate, TheHandlerGetsTheCodeAndThreeStrings) {
  deliver(128, update_body(0xfffffffe, "alice", "old", "new one"));
  EXPECT_EQ(once(call(0xfffffffe, "alice", "old", "new one")), noted());
}

TEST_F(PasswordUpdate, StringsMayBeEmpty) {
  deliver(128, update_body(7, "", "", ""));
  EXPECT_EQ(once(call(7, "", "", "")), noted());
}

TEST_F(PasswordUpdate, EachStringIsABlockOfItsOwnThatIsFreedAfterwards) {
  handle_with(
      [](std::uint32_t, const char*, const char*, const char*) { note(words({live_blocks()})); });
  const std::uint32_t before = live_blocks();
  deliver(128, update_body(7, "a", "", "c"));
  EXPECT_EQ(once(words({before + 3})), noted());
  EXPECT_EQ(3u, counters_.blocks_allocated());
  EXPECT_EQ(3u, counters_.blocks_freed());
}

TEST_F(PasswordUpdate, ItIsLogged) {
  const OpenGate gate;
  const LogCapture log;
  deliver(128, update_body(4294967295, "alice", "old", "new"));
  expect_debug_line(log, "4294967295 alice old new\r\n", update_function);
  EXPECT_EQ(2u, log.lines().size());
}

TEST_F(PasswordUpdate, ItIsLoggedWithoutAHandlerToo) {
  const OpenGate gate;
  const LogCapture log;
  handle_with(nullptr);
  deliver(128, update_body(1, "alice", "old", "new"));
  expect_debug_line(log, "1 alice old new\r\n", update_function);
  EXPECT_EQ(counters_.blocks_allocated(), counters_.blocks_freed());
}

TEST_F(PasswordUpdate, ItIsLoggedBeforeTheHandler) {
  static const LogCapture* log = nullptr;
  const OpenGate gate;
  const LogCapture capture;
  log = &capture;
  handle_with([](std::uint32_t, const char*, const char*, const char*) {
    note(words({static_cast<std::uint32_t>(log->lines().size())}));
  });
  deliver(128, update_body(1, "a", "b", "c"));
  EXPECT_EQ(once(words({2})), noted());
}

TEST_F(PasswordUpdate, AStringThatReachesBeyondTheBodyEndsWithIt) {
  deliver(128, words({7, 0, 100}) + text("abc"));
  EXPECT_EQ(once(call(7, "abc", "", "")), noted());
}

TEST_F(PasswordUpdate, ALengthWithoutAStringGivesAnEmptyOne) {
  for (const std::uint32_t length : {1u, 0x7fffffffu, 0xfffffffeu, 0xffffffffu}) {
    noted().clear();
    deliver(128, words({7, 0}) + counted(text("abc")) + words({length}));
    EXPECT_EQ(once(call(7, "abc", "", "")), noted());
  }
}

TEST_F(PasswordUpdate, LengthsThatWrapAroundStayInsideTheBody) {
  deliver(128, words({7, 0, 0xfffffff8, 0xffffffff, 0xffffffff}));
  ASSERT_EQ(1u, noted().size());
  EXPECT_EQ(words({7}), part(noted()[0], 0, 4));
}

TEST_F(PasswordUpdate, MissingPartsOfABodyAreZero) {
  deliver(128, words({7}));
  deliver(128, Bytes(1, 7));
  EXPECT_EQ((std::vector<Bytes>{call(7, "", "", ""), call(7, "", "", "")}), noted());
}

TEST_F(PasswordUpdate, ABlockThatCannotBeHadDropsTheMessage) {
  const OpenGate gate;
  for (int failing = 1; failing <= 3; ++failing) {
    const LogCapture log;
    const std::uint32_t before = live_blocks();
    int calls = 0;
    Scripts scripts;
    scripts.malloc = [&](std::size_t) -> std::optional<void*> {
      if (++calls != failing) return std::nullopt;
      return nullptr;
    };
    {
      const ScriptedCalls replaced(scripts);
      deliver(128, update_body(1, "a", "b", "c"));
    }
    EXPECT_EQ(failing, calls);
    EXPECT_TRUE(noted().empty());
    EXPECT_EQ(before, live_blocks());
    EXPECT_EQ(1u, log.lines().size());
  }
}

}  // namespace
}  // namespace test
