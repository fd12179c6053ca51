// Notices whose body goes to the client as it is: 105, 123, 125, 126.
#include "dispatch_test.h"

namespace test {
namespace {

class Notices : public DispatchTest {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    reg_info info = {};
    info.notify_del_msg_cb = [](const void* body) { note_unlocked(bytes_of(body, 560)); };
    info.notify_coa_req_cb = [](const void* body) { note_unlocked(bytes_of(body, 720)); };
    info.add_radext_result_cb = [](const void* body) { note_unlocked(bytes_of(body, 24)); };
    info.del_msg_req_cb = [](std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
      note_unlocked(words({w0, w1, w2}));
    };
    use(info);
  }
  // A body that begins with `kind`.
  static Bytes notice(std::uint32_t kind, std::size_t size) {
    return words({kind}) + Bytes(size - 4, 0x33);
  }

  LibraryCounters counters_;
};

TEST_F(Notices, ADeleteNoticeOf560BytesReachesTheCallback) {
  deliver(105, notice(1, 560));
  EXPECT_EQ(once(notice(1, 560)), noted());
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ADeleteNoticeOf559BytesIsDropped) {
  deliver(105, notice(2, 559));
  EXPECT_TRUE(noted().empty());
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ADeleteNoticeOfKind2IsCounted) {
  deliver(105, notice(2, 560));
  deliver(105, notice(3, 561));
  deliver(105, notice(2, 5000));
  EXPECT_EQ(3u, noted().size());
  EXPECT_EQ(2u, counters_.grown(24));
}

TEST_F(Notices, ADeleteNoticeWithoutACallbackIsNotCounted) {
  use({});
  deliver(105, notice(2, 560));
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ADeleteNoticeIsCountedBeforeTheCallback) {
  static std::uint32_t counted = 0;
  reg_info info = {};
  info.notify_del_msg_cb = [](const void*) { counted = LibraryCounters::word(24); };
  use(info);
  const std::uint32_t before = LibraryCounters::word(24);
  deliver(105, notice(2, 560));
  EXPECT_EQ(before + 1, counted);
}

TEST_F(Notices, ACoaRequestOf720BytesReachesTheCallbackAndIsCounted) {
  deliver(126, notice(9, 720));
  EXPECT_EQ(once(notice(9, 720)), noted());
  EXPECT_EQ(1u, counters_.grown(24));
}

TEST_F(Notices, ACoaRequestOf719BytesIsDropped) {
  deliver(126, notice(9, 719));
  EXPECT_TRUE(noted().empty());
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ACoaRequestWithoutACallbackIsNotCounted) {
  use({});
  deliver(126, notice(9, 720));
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ADeleteRequestPassesItsFirstThreeWords) {
  deliver(123, words({0x10203040, 2, 0xffffffff}));
  deliver(123, words({4, 5, 6, 7}));
  EXPECT_EQ((std::vector<Bytes>{words({0x10203040, 2, 0xffffffff}), words({4, 5, 6})}), noted());
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ADeleteRequestOf11BytesIsDropped) {
  deliver(123, Bytes(11, 1));
  EXPECT_TRUE(noted().empty());
}

TEST_F(Notices, ARadextResultOf24BytesReachesTheCallback) {
  deliver(125, notice(1, 24));
  EXPECT_EQ(once(notice(1, 24)), noted());
  EXPECT_TRUE(counters_.all_unchanged());
}

TEST_F(Notices, ARadextResultOf23BytesIsDropped) {
  deliver(125, notice(1, 23));
  EXPECT_TRUE(noted().empty());
}

}  // namespace
}  // namespace test
