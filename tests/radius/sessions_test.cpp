// Which sessions are authorized.
#include "radius/sessions.h"

#include "radius/radius_fixture.h"

namespace radius_test {
namespace {

class SessionsTest : public RadiusTest {
 protected:
  void SetUp() override { start(); }

  std::uint32_t verdict(std::uint32_t id) {
    authorize(id);
    return result().code;
  }

  void answer(std::uint32_t id, std::uint8_t code, const Bytes& attributes = {}) {
    log_in(id);
    const Datagram request = server_.receive();
    server_.send(reply_to(request.bytes, code, attributes), request);
    result();
  }
};

TEST_F(SessionsTest, AcceptedSessionIsAuthorized) {
  EXPECT_EQ(verdict(7), 1u);
  establish(7);
  authorize(7);
  const Result accepted = result();
  EXPECT_EQ(accepted.code, 0u);
  EXPECT_EQ(accepted.user, "nemo");
  EXPECT_EQ(verdict(8), 1u);
}

TEST_F(SessionsTest, RejectedAndChallengedSessionsAreNot) {
  answer(7, 3);
  answer(8, 11);
  EXPECT_EQ(verdict(7), 1u);
  EXPECT_EQ(verdict(8), 1u);
}

TEST_F(SessionsTest, RejectedReauthenticationEndsTheAuthorization) {
  establish(7);
  answer(7, 11);
  EXPECT_EQ(verdict(7), 0u);
  answer(7, 3);
  EXPECT_EQ(verdict(7), 1u);
}

TEST_F(SessionsTest, SessionEndsWithItsAccounting) {
  establish(7);
  for (const std::uint32_t kind : {1u, 3u, 2u}) {
    EXPECT_EQ(verdict(7), 0u);
    account(7, kind);
    const Datagram request = server_.receive();
    server_.send(reply_to(request.bytes, 5), request);
    EXPECT_EQ(result().code, 0u);
  }
  EXPECT_EQ(verdict(7), 1u);
}

TEST_F(SessionsTest, DeletedUsersSessionEnds) {
  establish(7);
  send(framed(8, hex("07000000 00000000"), 7));
  EXPECT_EQ(verdict(7), 1u);
}

TEST_F(SessionsTest, NameOfTheAcceptIsTheUsers) {
  answer(7, 2, attribute(1, "captain"));
  authorize(7);
  EXPECT_EQ(result().user, "captain");
}

TEST(SessionListTest, OldestAreForgotten) {
  aaa_sim::radius::Sessions sessions;
  const auto max = static_cast<std::uint32_t>(sessions.max_count);
  for (std::uint32_t id = 1; id <= max + 1; ++id)
    sessions.add(id, {.user = id % 2 == 0 ? "even" : "odd"});
  EXPECT_EQ(sessions.find(1), nullptr);
  EXPECT_NE(sessions.find(2), nullptr);
  EXPECT_NE(sessions.find(max + 1), nullptr);
  EXPECT_EQ(sessions.of_user("even").size(), max / 2);
}

}  // namespace
}  // namespace radius_test
