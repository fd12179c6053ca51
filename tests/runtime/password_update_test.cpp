// aaad asks for a password update: 128.
#include "runtime/receive/inbound.h"

#include "runtime/dispatch_test.h"
#include "support/failing_allocator.h"

namespace test::password_update {

constexpr char kFunction[] = "aaalib_ipc_msg_proc_backend_update_user_pwd";

std::string counted(const std::string& string) {
  return word_bytes(static_cast<std::uint32_t>(string.size())) + string;
}
std::string update_body(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  return word_bytes({code, 0xdddddddd}) + counted(s1) + counted(s2) + counted(s3);
}
// A call of the handler, as its arguments show.
std::string call(std::uint32_t code, const std::string& s1, const std::string& s2,
                 const std::string& s3) {
  return word_bytes({code}) + s1 + "|" + s2 + "|" + s3;
}

class PasswordUpdate : public DispatchTest {
 protected:
  PasswordUpdate() {
    handle_with([](std::uint32_t code, const char* s1, const char* s2, const char* s3) {
      notes.add(call(code, s1, s2, s3));
    });
  }
  ~PasswordUpdate() override { handle_with(nullptr); }

  static void handle_with(aaa_user_pwd_update_fn handler) {
    aaa::store(aaa::g_aaa_user_pwd_update_req_handle, handler);
  }

  LibraryCounters counters_;
};

TEST_F(PasswordUpdate, TheHandlerGetsTheCodeAndThreeStringsInBlocksThatAreFreedAfterwards) {
  const std::uint32_t before = live_blocks();
  deliver(128, update_body(0xfffffffe, "alice", "", "new one"));
  EXPECT_THAT(noted(), ElementsAre(call(0xfffffffe, "alice", "", "new one")));
  EXPECT_EQ(before + 3, notes.all()[0].blocks);
  EXPECT_EQ(3u, counters_.blocks_allocated());
  EXPECT_EQ(3u, counters_.blocks_freed());
  EXPECT_THAT(told_by(128, update_body(7, "", "", "")), ElementsAre(call(7, "", "", "")));
}

TEST_F(PasswordUpdate, IsLoggedBeforeTheHandlerOrWithoutOne) {
  const OpenLog log;
  std::size_t lines = 0;
  in_callback([&](const std::string&) { lines = log.lines().size(); });
  deliver(128, update_body(4294967295, "alice", "old", "new"));
  expect_line(log, kFunction, "4294967295 alice old new\r\n");
  EXPECT_EQ(2u, lines);
  EXPECT_EQ(2u, log.lines().size());
  handle_with(nullptr);
  deliver(128, update_body(1, "alice", "old", "new"));
  expect_line(log, kFunction, "1 alice old new\r\n");
  EXPECT_EQ(counters_.blocks_allocated(), counters_.blocks_freed());
}

TEST_F(PasswordUpdate, AStringThatReachesBeyondTheBodyEndsWithIt) {
  deliver(128, word_bytes({7, 0, 100}) + "abc");
  EXPECT_THAT(noted(), ElementsAre(call(7, "abc", "", "")));
}

TEST_F(PasswordUpdate, ALengthWithoutAStringGivesAnEmptyOne) {
  for (const std::uint32_t length : {1u, 0x7fffffffu, 0xfffffffeu, 0xffffffffu})
    EXPECT_THAT(told_by(128, word_bytes({7, 0}) + counted("abc") + word_bytes({length})),
                ElementsAre(call(7, "abc", "", "")));
}

TEST_F(PasswordUpdate, LengthsThatWrapAroundStayInsideTheBody) {
  deliver(128, word_bytes({7, 0, 0xfffffff8, 0xffffffff, 0xffffffff}));
  ASSERT_EQ(1u, noted().size());
  EXPECT_EQ(word_bytes({7}), noted()[0].substr(0, 4));
}

TEST_F(PasswordUpdate, MissingPartsOfABodyAreZero) {
  for (const std::string& body : {word_bytes({7}), std::string(1, 7)})
    EXPECT_THAT(told_by(128, body), ElementsAre(call(7, "", "", "")));
}

TEST_F(PasswordUpdate, ABlockThatCannotBeHadDropsTheMessage) {
  for (std::uint32_t failing_block = 1; failing_block <= 3; ++failing_block) {
    const OpenLog log;
    const FailMalloc failing_malloc(failing_block);
    expect_dropped(128, update_body(1, "a", "b", "c"));
    EXPECT_TRUE(failing_malloc.happened());
    EXPECT_EQ(1u, log.lines().size());
  }
}

}  // namespace test::password_update
