// aaad-sim --fields: what it prints below the line of a message.
#include "dissect/dissect_fixture.h"

namespace dissect_test {
namespace {

class SimFields : public SimProgramTest {
 protected:
  // What the simulator has printed when `login` was sent by a client that then leaves.
  std::string printed_for(const std::string& login) {
    start_sim({"--fields"});
    {
      RawClient client(socket_below(daemon_directory_), "netd");
      client.request.send(login);
      EXPECT_NE(client.event.receive_message(), "");
    }
    sim_->signal(SIGTERM);
    return sim_->remaining_output();
  }
  static std::string login() {
    std::string block(1184, '\0');
    block.replace(198, 5, "alice");
    return test::message_with_id(7, 5,
                                 test::item_bytes(1, block) + test::item_bytes(2, "wonderland"));
  }
};

TEST_F(SimFields, FollowTheLineOfTheirMessageWithoutSecrets) {
  const std::string printed = printed_for(login());
  EXPECT_THAT(printed, HasSubstr("(authen request) id 7 len 1202\n     20  1184  fixed_block (1)\n"
                                 "      218    65  chars65_a \"alice\"\n"));
  EXPECT_THAT(printed, HasSubstr("   1208    10  user_password (2) secret\n"));
  EXPECT_THAT(printed, Not(HasSubstr("wonderland")));
}

TEST_F(SimFields, OfABatchAreThoseOfItsMessages) {
  const std::string printed = printed_for(test::message_bytes(25, login()));
  EXPECT_THAT(printed, testing::ContainsRegex("\\(PAD pkt\\) id 0 len 1218\n +[0-9.]+ recv"));
  EXPECT_THAT(printed, HasSubstr("id 7 len 1202 in batch\n     20  1184  fixed_block (1)\n"));
}

}  // namespace
}  // namespace dissect_test
