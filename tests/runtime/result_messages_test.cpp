// Results (103): to the callback, or to the thread that waits for them.
#include "dispatch_test.h"
#include "message_pair.h"
#include "records.h"
#include "support/registered_test.h"

namespace test {
namespace {

class ResultMessages : public DispatchTest {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    ASSERT_EQ(0, aaa_lib_make_work_dir());
    ASSERT_EQ(0, aaa_lib_msg_socket_init());
    forget_datagrams();
    counters_ = {};
  }
  static void use_callback() {
    reg_info info = {};
    info.notify_result_cb = [](result_info* result) {
      note_unlocked(words({result->sub.session_id}));
    };
    use(info);
  }

  LibraryCounters counters_;
};

TEST_F(ResultMessages, AResultIsDecodedCountedAndFreed) {
  use_callback();
  const Bytes body = result_body(0x01020304);
  const std::uint32_t before = live_blocks();
  deliver(103, body);
  EXPECT_EQ(once(words({0x01020304})), noted());
  EXPECT_EQ(1u, counters_.grown(16));
  EXPECT_EQ(0u, counters_.grown(17));
  EXPECT_EQ(before, live_blocks());
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(ResultMessages, AnUnreadableResultIsCountedAndDropped) {
  use_callback();
  deliver(103, Bytes(100, 0));
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(1u, counters_.grown(16));
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(ResultMessages, AResultIsCountedBeforeTheCallback) {
  static std::uint32_t counted = 0;
  reg_info info = {};
  info.notify_result_cb = [](result_info*) { counted = LibraryCounters::word(16); };
  use(info);
  const std::uint32_t before = LibraryCounters::word(16);
  deliver(103, result_body(1));
  EXPECT_EQ(before + 1, counted);
}

TEST_F(ResultMessages, WithoutACallbackTheRawBodyGoesToTheWaiter) {
  const LibraryCounters blocks;
  deliver(103, text("any body, read or not"));
  EXPECT_EQ(text("any body, read or not"), datagram());
  EXPECT_EQ(Bytes(), datagram());
  EXPECT_EQ(1u, counters_.grown(17));
  EXPECT_EQ(0u, counters_.grown(16));
  EXPECT_EQ(0u, blocks.blocks_allocated());
}

TEST_F(ResultMessages, ANullBodyIsNotCounted) {
  deliver(103);
  use_callback();
  deliver(103);
  EXPECT_TRUE(counters_.all_unchanged());
  EXPECT_EQ(Bytes(), datagram());
}

class AwaitedResult : public RegisteredTest {};

TEST_F(AwaitedResult, ABlockedThreadGetsAResultThatNoCallbackTakes) {
  register_client();
  forget_datagrams();
  const Bytes body = result_body(9);
  send(AAA_MSG_NOTIFY_RESULT, body, 9);
  result_info* result = nullptr;
  ASSERT_EQ(0, aaa_user_get_result(9, 0, 10, &result));
  EXPECT_EQ(9u, result->sub.session_id);
  aaa_free_result_info(result);
}

}  // namespace
}  // namespace test
