// RADIUS-extension messages and the results of those that aaad asked for.
#include "management/sample_records.h"
#include "session/state/client_state.h"
#include "support/library_counters.h"

namespace {

using test::hex;
using test::LibraryCounters;

constexpr std::size_t kResults = 25;
constexpr std::size_t kResultFailures = 26;

class RadextRequests : public test::LinkedTest {};

TEST_F(RadextRequests, TheFirst2784BytesOfTheBlockAreSent) {
  const radext_msg message = test::extension();
  EXPECT_EQ(1, aaa_lib_radext_msg_recv(&message));
  EXPECT_EQ(hex("01010101 00000000 17000000 e00a0000"), only_write().substr(0, 16));
  EXPECT_EQ(2800u, only_write().size());
}

TEST_F(RadextRequests, TheBlockIsZeroWhereTheMessageHasNothing) {
  const radext_msg message = {};
  EXPECT_EQ(1, aaa_lib_radext_msg_recv(&message));
  EXPECT_EQ(std::string(2784, '\0'), only_write().substr(16));
}

TEST_F(RadextRequests, ANullMessageGives0) {
  EXPECT_EQ(0, aaa_lib_radext_msg_recv(nullptr));
  EXPECT_TRUE(writes().empty());
}

TEST_F(RadextRequests, ThreeWordsAreFollowedBy12ZeroBytesUnderId0) {
  EXPECT_EQ(0, aaa_front_add_radext_result(0x01020304, 0x05060708, 0x090a0b0c));
  EXPECT_EQ(hex("01010101 00000000 18000000 18000000"
                "04030201 08070605 0c0b0a09 00000000 00000000 00000000"),
            only_write());
}

TEST_F(RadextRequests, SixWordsGoUnderTheFourthAsTheId) {
  const std::uint32_t words[6] = {1, 2, 3, 0x01020304, 5, 6};
  EXPECT_EQ(0, aaa_front_add_radext_result2(words));
  EXPECT_EQ(hex("01010101 04030201 18000000 18000000"
                "01000000 02000000 03000000 04030201 05000000 06000000"),
            only_write());
}

TEST_F(RadextRequests, NullWordsGiveMinus1AndCountACallAndAFailure) {
  const LibraryCounters counters;
  EXPECT_EQ(-1, aaa_front_add_radext_result2(nullptr));
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(1u, counters.grown(kResults));
  EXPECT_EQ(1u, counters.grown(kResultFailures));
}

}  // namespace
