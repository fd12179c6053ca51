// RADIUS-extension messages.
#include "management/sample_records.h"

namespace test {
namespace {

class RadextRequests : public LinkedTest {};

TEST_F(RadextRequests, TheFirst2784BytesOfTheBlockAreSentAndZeroWhereTheMessageHasNothing) {
  const radext_msg message = {};
  EXPECT_EQ(1, aaa_lib_radext_msg_recv(&message));
  EXPECT_EQ(hex("01010101 00000000 17000000 e00a0000") + std::string(2784, '\0'), only_write());
}

}  // namespace
}  // namespace test
