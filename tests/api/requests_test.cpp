// Requests about a user, and the control of interfaces: what they send, count and return.
#include <chrono>
#include <thread>

#include "support/encoded_body.h"
#include "support/one_way_scenarios.h"

namespace test {
namespace {

constexpr std::uint32_t kSessionId = 0x0a0b0c0d;

template <class Record>
Record filled(std::uint32_t session_id = kSessionId) {
  Record record = {};
  record.session_id = session_id;
  record.num_a = 0x11223344;
  record.user_password = {0, 6, "secret"};
  record.ext_text = "text";
  return record;
}

// A record submitted as it is, or under a message type.
template <class Record, std::int32_t (*request)(Record*)>
std::int64_t submit() {
  Record record = filled<Record>();
  return request(&record);
}
template <class Record, std::int32_t (*request)(Record*, std::uint32_t), std::uint32_t session_id,
          std::uint32_t type>
std::int64_t submit_typed() {
  Record record = filled<Record>(session_id);
  return request(&record, type);
}

const OneWayKind authentication = {
    .name = "authentication",
    .type = 5,
    .display_name = "authen request",
    .id = 0x0a0b0c0d,
    .body = encoded_body(aaa_encap_authen_info, filled<authen_info>()),
    .call = submit<authen_info, aaa_user_req_authen>,
    .failed = -32,
    .no_memory = -12,
    .counters = {{0, 1, 2}},
    .lines = {{"aaa_user_req_authen_sub", "send packet error with errno ", true}},
    .blocks = 2,
};
const OneWayKind authorization = {
    .name = "authorization",
    .type = 6,
    .display_name = "author request",
    .id = 0x0a0b0c0d,
    .body = encoded_body(aaa_encap_author_info, filled<author_info>()),
    .call = submit<author_info, aaa_user_req_author>,
    .failed = -32,
    .no_memory = -12,
    .lines = {{"aaa_user_req_author_sub", "send packet error with errno ", true}},
    .blocks = 2,
};
const OneWayKind accounting = {
    .name = "accounting",
    .type = 7,
    .display_name = "account request",
    .id = 0x0a0b0c0d,
    .body = encoded_body(aaa_encap_acct_info, filled<acct_info>()),
    .call = submit<acct_info, aaa_user_req_acct>,
    .failed = -32,
    .no_memory = -12,
    .counters = {{4, 5, 6}},
    .lines = {{"aaa_user_req_acct_sub", "send packet error with errno ", true}},
    .blocks = 2,
    .no_body = -22,
};
const OneWayKind clear_user = {
    .name = "clear_user",
    .type = 19,
    .display_name = "clear user",
    .id = 0,
    .body = hex("01020304"),  // the most significant byte first
    .call = [] { return std::int64_t{aaa_clear_req_user(0x01020304)}; },
};
const OneWayKind interface_control = {
    .name = "interface_control",
    .type = 28,
    .display_name = "interface control",
    .id = 0,
    .body = hex("01000000 55000000 99887766"),
    .call =
        [] {
          const std::uint32_t words[3] = {1, 0x55, 0x66778899};
          return std::int64_t{aaa_notify_ctrl_if_switch(words)};
        },
    .failed = -32,
    .no_memory = -12,
    .lines = {{"aaa_notify_ctrl_if_switch", "send pak error with errno ", true}},
};

// As it is without a registration, under another message type and without counters.
template <class Record, std::int32_t (*request)(Record*, std::uint32_t), std::uint32_t session_id,
          std::uint32_t type>
OneWayKind typed(OneWayKind kind, std::string name, std::string display_name,
                 std::uint32_t (*encode)(Record*, void**)) {
  kind.name = std::move(name);
  kind.type = type;
  kind.display_name = std::move(display_name);
  kind.id = session_id;
  kind.body = encoded_body(encode, filled<Record>(session_id));
  kind.call = submit_typed<Record, request, session_id, type>;
  kind.not_alive = std::nullopt;
  kind.counters = std::nullopt;
  return kind;
}

INSTANTIATE_TEST_SUITE_P(
    , OneWayRequests,
    testing::Values(
        authentication, authorization, accounting, clear_user, interface_control,
        typed<authen_info, aaa_user_req_authen_sub, kSessionId, 5>(authentication,
                                                                   "authentication_of_its_own_type",
                                                                   "authen request",
                                                                   aaa_encap_authen_info),
        typed<author_info, aaa_user_req_author_sub, kSessionId, 6>(authorization,
                                                                   "authorization_of_its_own_type",
                                                                   "author request",
                                                                   aaa_encap_author_info),
        typed<authen_info, aaa_user_req_authen_sub, 0, 115>(authentication, "local_authentication",
                                                            "local authen req",
                                                            aaa_encap_authen_info),
        typed<author_info, aaa_user_req_author_sub, 0, 116>(authorization, "local_authorization",
                                                            "local author req",
                                                            aaa_encap_author_info)),
    one_way_name);

class UserRequests : public LinkedTest {
 protected:
  // Expects a call to be refused with 22 without a trace.
  template <class Call>
  void expect_refused(Call call) {
    const OpenLog log;
    const LibraryCounters counters;
    EXPECT_EQ(-22, call());
    EXPECT_TRUE(writes().empty());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(0u, counters.blocks_allocated());
  }
};

TEST_F(UserRequests, RefuseANullRecordBeforeTheyAskForTheRegistration) {
  for (const auto state : {AAA_REG_REGISTERED, AAA_REG_NOT_REGISTERED}) {
    aaa::set_reg_state(state);
    const LibraryCounters counters;
    expect_refused([] { return aaa_user_req_authen(nullptr); });
    expect_refused([] { return aaa_user_req_author(nullptr); });
    expect_refused([] { return aaa_user_req_acct(nullptr); });
    for (const std::uint32_t type : {5u, 6u, 115u, 116u}) {
      expect_refused([=] { return aaa_user_req_authen_sub(nullptr, type); });
      expect_refused([=] { return aaa_user_req_author_sub(nullptr, type); });
    }
    EXPECT_TRUE(counters.all_unchanged());
  }
}

TEST_F(UserRequests, RefuseSessionId0) {
  auto authen = filled<authen_info>(0);
  auto author = filled<author_info>(0);
  auto acct = filled<acct_info>(0);
  expect_refused([&] { return aaa_user_req_authen(&authen); });
  expect_refused([&] { return aaa_user_req_author(&author); });
  expect_refused([&] { return aaa_user_req_acct(&acct); });
  aaa::set_reg_state(AAA_REG_NOT_REGISTERED);
  EXPECT_EQ(-1, aaa_user_req_authen(&authen));
  EXPECT_EQ(-1, aaa_user_req_author(&author));
  EXPECT_EQ(-1, aaa_user_req_acct(&acct));
}

TEST_F(UserRequests, OnlyTheRecordsOwnTypeNeedsASessionId) {
  auto authen = filled<authen_info>(0);
  auto author = filled<author_info>(0);
  EXPECT_EQ(0, aaa_user_req_authen_sub(&authen, 6));
  EXPECT_EQ(0, aaa_user_req_author_sub(&author, 5));
  EXPECT_EQ(2u, writes().size());
  const LibraryCounters counters;
  EXPECT_EQ(-22, aaa_user_req_authen_sub(&authen, 5));
  EXPECT_EQ(-22, aaa_user_req_author_sub(&author, 6));
  EXPECT_EQ(2u, writes().size());
  EXPECT_EQ(0u, counters.blocks_allocated());
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(UserRequests, TheSessionIdIsTheMessageIdUnderAnyType) {
  auto authen = filled<authen_info>();
  auto author = filled<author_info>();
  for (const std::uint32_t type : {5u, 6u, 115u, 116u, 9999u}) {
    const std::string header = hex("01010101 0d0c0b0a") + word_bytes(type);
    EXPECT_EQ(0, aaa_user_req_authen_sub(&authen, type));
    EXPECT_EQ(header, writes().back().substr(0, 12));
    EXPECT_EQ(0, aaa_user_req_author_sub(&author, type));
    EXPECT_EQ(header, writes().back().substr(0, 12));
  }
  EXPECT_EQ(10u, writes().size());
}

TEST_F(UserRequests, MayBeMadeByACallerThatHasTheLock) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  for (const OneWayKind& kind : {authentication, authorization, accounting})
    EXPECT_EQ(0, kind.call());
  EXPECT_EQ(3u, writes().size());
}

TEST_F(UserRequests, ControlOfInterfacesRefusesNullAndAFirstWordOf0) {
  const std::uint32_t words[3] = {0, 5, 6};
  for (const auto state : {AAA_REG_REGISTERED, AAA_REG_LOST}) {
    aaa::set_reg_state(state);
    expect_refused([] { return aaa_notify_ctrl_if_switch(nullptr); });
    expect_refused([&] { return aaa_notify_ctrl_if_switch(words); });
  }
}

// Requests of which the sum of the times, and behind it the longest, are kept.
class RequestTimes : public LinkedTest, public testing::WithParamInterface<OneWayKind> {
 protected:
  static std::size_t sum() { return GetParam().counters->time; }
  static void rest() { std::this_thread::sleep_for(std::chrono::milliseconds(2)); }
};

INSTANTIATE_TEST_SUITE_P(, RequestTimes, testing::Values(authentication, accounting), one_way_name);

TEST_P(RequestTimes, TheTimeOfTheSendIsKept) {
  aaa::store(LibraryCounters::word(sum() + 1), 0U);
  const LibraryCounters counters;
  during_writes(rest);
  GetParam().call();
  EXPECT_GE(counters.grown(sum()), 2000u);
  EXPECT_LT(counters.grown(sum()), 10000000u);
  EXPECT_EQ(counters.grown(sum()), counters.grown(sum() + 1));
}

TEST_P(RequestTimes, TheTimeOfAFailedSendOrEncodingIsKept) {
  LibraryCounters counters;
  during_writes(rest);
  next_write_fails(EPIPE);
  GetParam().call();
  EXPECT_GE(counters.grown(sum()), 2000u);
  script({.malloc = [](std::size_t) {
    rest();
    return std::optional<void*>(nullptr);
  }});
  counters = LibraryCounters();
  GetParam().call();
  EXPECT_GE(counters.grown(sum()), 2000u);
}

TEST_F(UserRequests, AnAuthorizationIsNeitherCountedNorTimed) {
  const LibraryCounters counters;
  during_writes([] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); });
  EXPECT_EQ(0, authorization.call());
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(UserRequests, OfSessionId0CountAsRequestsAndFailuresAndTakeTime) {
  auto authen = filled<authen_info>(0);
  auto author = filled<author_info>(0);
  auto acct = filled<acct_info>(0);
  const LibraryCounters counters;
  // Each takes a fraction of a microsecond; now and then one crosses a microsecond's edge.
  for (int i = 0; i < 50000; ++i) {
    aaa_user_req_authen(&authen);
    aaa_user_req_author(&author);
    aaa_user_req_acct(&acct);
  }
  for (const std::size_t n : {0u, 1u, 4u, 5u})
    EXPECT_EQ(50000u, counters.grown(n)) << n;
  EXPECT_GT(counters.grown(2), 0u);
  EXPECT_GT(counters.grown(6), 0u);
  for (std::size_t n = 8; n < LibraryCounters::kWords; ++n)
    EXPECT_EQ(0u, counters.grown(n)) << n;
}

}  // namespace
}  // namespace test
