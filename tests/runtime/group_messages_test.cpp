// Group requests: 109, 110, 111.
#include <string>

#include "dispatch_test.h"
#include "records.h"

namespace test {
namespace {

template <class Record>
void note_request(Record* record, char* group_name) {
  note_unlocked(words({record->session_id}) + bytes_of(group_name, 256));
}

Bytes name(std::size_t size) {
  Bytes letters(size);
  for (std::size_t i = 0; i < size; ++i)
    letters[i] = static_cast<std::uint8_t>('a' + i % 26);
  return letters;
}

// A body with a group name ahead of the record.
Bytes named(const Bytes& group, const Bytes& record) {
  return Bytes(1, static_cast<std::uint8_t>(group.size())) + group + record;
}

struct Kind {
  std::uint32_t type;
  Bytes (*body)(std::uint32_t session_id);
};

class GroupMessages : public DispatchTest, public testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    DispatchTest::SetUp();
    reg_info info = {};
    info.authen_group_req_cb = note_request<authen_info>;
    info.author_group_req_cb = note_request<author_info>;
    info.acct_group_req_cb = note_request<acct_info>;
    use(info);
  }
  void deliver_request(const Bytes& body) { deliver(GetParam().type, body); }
  static Bytes record() { return GetParam().body(0x01020304); }
};

TEST_P(GroupMessages, PassTheRecordAndTheNameInAZeroedBuffer) {
  for (const std::size_t size : {1, 10, 254}) {
    noted().clear();
    deliver_request(named(name(size), record()));
    EXPECT_EQ(once(words({0x01020304}) + name(size) + Bytes(256 - size, 0)), noted());
  }
}

TEST_P(GroupMessages, TheLongestNameIsTerminated) {
  deliver_request(named(name(255), record()));
  EXPECT_EQ(once(words({0x01020304}) + name(255) + Bytes(1, 0)), noted());
}

TEST_P(GroupMessages, TheNameMayBeEmpty) {
  deliver_request(named({}, record()));
  EXPECT_EQ(once(words({0x01020304}) + Bytes(256, 0)), noted());
}

TEST_P(GroupMessages, TheRecordIsFreedAfterTheCallback) {
  const Bytes body = named(name(3), record());
  const LibraryCounters counters;
  deliver_request(body);
  EXPECT_GE(counters.blocks_allocated(), 1u);
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(GroupMessages, TheRecordIsFreedWithoutACallback) {
  use({});
  const Bytes body = named(name(3), record());
  const LibraryCounters counters;
  deliver_request(body);
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

TEST_P(GroupMessages, ABodyShorterThanItsNameIsDropped) {
  const LibraryCounters counters;
  deliver_request(Bytes(1, 10) + name(9));
  deliver_request(Bytes(1, 255) + name(254));
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_P(GroupMessages, ABodyWithoutARecordIsDropped) {
  deliver_request(Bytes(1, 0));
  deliver_request(Bytes(2, 0));
  deliver_request(named(name(10), {}));
  EXPECT_TRUE(noted().empty());
}

TEST_P(GroupMessages, ARecordThatCannotBeDecodedIsDropped) {
  const LibraryCounters counters;
  deliver_request(named(name(3), Bytes(100, 0)));
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
}

INSTANTIATE_TEST_SUITE_P(Types, GroupMessages,
                         testing::Values(Kind{109, authen_body}, Kind{110, author_body},
                                         Kind{111, acct_body}),
                         [](const auto& tested) { return std::to_string(tested.param.type); });

}  // namespace
}  // namespace test
