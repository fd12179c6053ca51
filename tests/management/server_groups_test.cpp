// Server groups: registering one, telling of its state.
#include "support/linked_test.h"

namespace test {
namespace {

class ServerGroups : public LinkedTest {};

TEST_F(ServerGroups, AnEmptyNameTravelsAsItsNulBehindTheThirdAndTheFirstArgument) {
  aaad_answers(message_bytes(108, word_bytes(0)));
  EXPECT_EQ(1u, aaa_register_group(1, "", 2));
  EXPECT_EQ(hex("09000000 02000000 01000000 00"), only_write().substr(12));
}

TEST_F(ServerGroups, AStateTravelsBehindTheWholeNameAndItsNul) {
  for (const std::size_t length : {0u, 6u, 65535u}) {
    const std::string name(length, 'g');
    aaa_set_rds_grp_sta(name.c_str(), 3);
    const std::string items = hex("0100") +
                              word_bytes(static_cast<std::uint32_t>(length + 1)).substr(0, 2) +
                              name + hex("00 0200 0400 03000000");
    EXPECT_EQ(hex("01010101 00000000 10000000"), writes().back().substr(0, 12));
    EXPECT_EQ(13 + length, word_at(writes().back(), 12));
    EXPECT_EQ(items, writes().back().substr(16)) << length;
  }
}

}  // namespace
}  // namespace test
