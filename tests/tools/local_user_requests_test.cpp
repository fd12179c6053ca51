// Requests about local users: signing in, passwords, grants.
#include <gmock/gmock.h>

#include "sim_fixture.h"
#include "user_request.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LocalUser;
using testing::ElementsAre;

class LocalUserRequestsTest : public ClientTest {
 protected:
  LocalUserRequestsTest() {
    sim_.put_local_user(
        {.name = "carol", .string_19 = "rosebud-1", .passwords = {"rosebud-0"}, .value_5 = 6});
  }

  // Items numbered from 1.
  static Bytes items(const std::vector<Bytes>& values) {
    Bytes body;
    std::uint8_t type = 0;
    for (const Bytes& value : values)
      body = body + Bytes{++type, 0, static_cast<std::uint8_t>(value.size()), 0} + value;
    return body;
  }

  LocalUser carol() { return sim_.local_user("carol").value_or(LocalUser{}); }

  // The code of the result to an authentication.
  std::uint32_t sign_in(const Attempt& attempt) {
    const Bytes answer = ask(115, request_body(7, attempt), 7);
    EXPECT_EQ(word_at(answer, 4), 7u) << "header id";
    EXPECT_EQ(word_at(answer, 8), 115u) << "type";
    EXPECT_EQ(word_at(answer, 20 + 572), 7u) << "session id";
    return word_at(answer, 20);
  }
};

TEST_F(LocalUserRequestsTest, SignInGoesByThePassword) {
  EXPECT_EQ(sign_in({"carol", "rosebud-1", ""}), 0u);
  EXPECT_EQ(sign_in({"carol", "rosebud-0", ""}), 1u);
  EXPECT_EQ(sign_in({"carol", "", ""}), 1u);
  EXPECT_EQ(sign_in({"dave", "rosebud-1", ""}), 1u);
}

TEST_F(LocalUserRequestsTest, SignInFallsBackOnString18) {
  sim_.put_local_user({.name = "dave", .string_18 = "short"});
  EXPECT_EQ(sign_in({"dave", "short", ""}), 0u);
  sim_.put_local_user({.name = "dave", .string_18 = "short", .string_19 = "long"});
  EXPECT_EQ(sign_in({"dave", "short", ""}), 1u);
  EXPECT_EQ(sign_in({"dave", "long", ""}), 0u);
}

TEST_F(LocalUserRequestsTest, UserWithFlag4NeedsNoPassword) {
  sim_.put_local_user({.name = "dave", .flag_4 = true});
  EXPECT_EQ(sign_in({"dave", "anything", ""}), 0u);
}

TEST_F(LocalUserRequestsTest, AuthorizationGoesByTheNameInItem301) {
  // A block of 156 bytes, then the items 301 and 2.
  const Bytes block = hex("0100 9c00") + Bytes(156);
  const Bytes accepted = ask(116, block + hex("2d01 0500") + text("carol") + hex("0200 0000"));
  EXPECT_EQ(word_at(accepted, 8), 116u);
  EXPECT_EQ(word_at(accepted, 20), 0u);
  EXPECT_EQ(word_at(ask(116, block + hex("2d01 0400") + text("dave")), 20), 1u);
  EXPECT_EQ(word_at(ask(116, block), 20), 1u);
}

TEST_F(LocalUserRequestsTest, UnreadableRecordsAreRejected) {
  EXPECT_EQ(word_at(ask(115, Bytes(1183)), 20), 1u);
  EXPECT_EQ(word_at(ask(116, Bytes(155)), 20), 1u);
}

TEST_F(LocalUserRequestsTest, PasswordIsChangedAndTheOldOneKept) {
  EXPECT_EQ(ask(117, items({text("carol"), text("rosebud-1"), text("xanadu")})),
            hex("01010101 00000000 75000000 04000000  00000000"));
  EXPECT_EQ(carol().string_19, "xanadu");
  EXPECT_THAT(carol().passwords, ElementsAre("rosebud-0", "rosebud-1"));
}

TEST_F(LocalUserRequestsTest, PasswordChangeHasCodesForRefusals) {
  const auto code = [&](const Bytes& name, const Bytes& old_password, const Bytes& new_password) {
    return word_at(ask(117, items({name, old_password, new_password})), 16);
  };
  EXPECT_EQ(code(text("dave"), text("rosebud-1"), text("xanadu")), 1u);
  EXPECT_EQ(code(text("carol"), text("rosebud-0"), text("xanadu")), 2u);
  EXPECT_EQ(code(text("carol"), text("rosebud-1"), text("")), 3u);
  EXPECT_EQ(code(text("carol"), text("rosebud-1"), text("rosebud-0")), 3u) << "used before";
  EXPECT_EQ(code(text("carol"), text("rosebud-1"), text("rosebud-1")), 3u) << "in use";
  EXPECT_EQ(code(text("carol"), text("rosebud-1"), Bytes(129, 'x')), 3u);
  EXPECT_EQ(carol().string_19, "rosebud-1");
  EXPECT_EQ(code(text("carol"), text("rosebud-1"), Bytes(128, 'x')), 0u);
}

TEST_F(LocalUserRequestsTest, GrantNeedsAllTheRightsAndAnAbsolutePath) {
  EXPECT_EQ(ask(118, items({text("carol"), text("/srv"), hex("04000000")})),
            hex("01010101 00000000 76000000 01000000 00"));
  EXPECT_EQ(ask(118, items({text("carol"), text("/srv"), hex("06000000")})).back(), 0);
  EXPECT_EQ(ask(118, items({text("carol"), text("/srv"), hex("07000000")})).back(), 13);
  EXPECT_EQ(ask(118, items({text("carol"), text("srv"), hex("04000000")})).back(), 22);
  EXPECT_EQ(ask(118, items({text("dave"), text("/srv"), hex("04000000")})).back(), 2);
}

TEST_F(LocalUserRequestsTest, PasswordIsJudged) {
  const auto judgement = [&](const Bytes& name, const Bytes& password) {
    const Bytes answer = ask(22, items({name, password}));
    EXPECT_EQ(word_at(answer, 8), 124u);
    return word_at(answer, 16);
  };
  EXPECT_EQ(judgement(text("carol"), text("xanadu-12")), 0u);
  EXPECT_EQ(judgement(text("carol"), text("xanadu1")), 1u);
  EXPECT_EQ(judgement(text("carol"), text("12carol34")), 2u);
  EXPECT_EQ(judgement(text("caroline-of-oz"), text("caroline")), 2u);
  EXPECT_EQ(judgement(text("carol"), text("rosebud-0")), 3u);
  EXPECT_EQ(judgement(text("dave"), text("rosebud-0")), 0u);
}

TEST_F(LocalUserRequestsTest, ItemsCutShortAreRemarked) {
  for (const std::uint8_t type : std::initializer_list<std::uint8_t>{22, 117, 118}) {
    client_.request.send(framed(type, hex("0100 0600") + text("carol")));
    EXPECT_TRUE(sim_.wait_for_note("message " + std::to_string(type) + ": body cut short"));
  }
}

}  // namespace
}  // namespace aaa_sim_test
