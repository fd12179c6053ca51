// Requests about a user, and the control of interfaces: what they send, count and return.
#include <chrono>
#include <thread>

#include "support/encoded_body.h"
#include "support/locked_state.h"
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

// A failed send is logged with errno.
OneWayKind::Lines lines_of(std::string function) {
  return {std::move(function), "send packet error with errno ", true};
}

std::int64_t control_interfaces() {
  const std::uint32_t words[3] = {1, 0x55, 0x66778899};
  return aaa_notify_ctrl_if_switch(words);
}

// clang-format off
const OneWayKind authentication = {
    "authentication", 5, "authen request", kSessionId,
    encoded_body(aaa_encap_authen_info, filled<authen_info>()),
    submit<authen_info, aaa_user_req_authen>,
    {0, -32, -12, -1}, 2, {{0, 1, 2}}, lines_of("aaa_user_req_authen_sub")};
const OneWayKind authorization = {
    "authorization", 6, "author request", kSessionId,
    encoded_body(aaa_encap_author_info, filled<author_info>()),
    submit<author_info, aaa_user_req_author>,
    {0, -32, -12, -1}, 2, {}, lines_of("aaa_user_req_author_sub")};
const OneWayKind accounting = {
    "accounting", 7, "account request", kSessionId,
    encoded_body(aaa_encap_acct_info, filled<acct_info>()),
    submit<acct_info, aaa_user_req_acct>,
    {0, -32, -12, -1}, 2, {{4, 5, 6}}, lines_of("aaa_user_req_acct_sub"), true, -22};

const OneWayKind one_way_requests[] = {
    authentication,
    authorization,
    accounting,
    // The most significant byte goes first.
    {"clear_user", 19, "clear user", 0, hex("01020304"),
     [] { return aaa_clear_req_user(0x01020304); },
     {0, -1, -1, -1}, 1},
    {"interface_control", 28, "interface control", 0, hex("01000000 55000000 99887766"),
     control_interfaces,
     {0, -32, -12, -1}, 1, {}, {{"aaa_notify_ctrl_if_switch", "send pak error with errno ", true}}},
    {"typed_authentication", 5, "authen request", kSessionId, authentication.body,
     submit_typed<authen_info, aaa_user_req_authen_sub, kSessionId, 5>,
     {0, -32, -12, {}}, 2, {}, authentication.lines},
    {"typed_authorization", 6, "author request", kSessionId, authorization.body,
     submit_typed<author_info, aaa_user_req_author_sub, kSessionId, 6>,
     {0, -32, -12, {}}, 2, {}, authorization.lines},
    {"local_authentication", 115, "local authen req", 0,
     encoded_body(aaa_encap_authen_info, filled<authen_info>(0)),
     submit_typed<authen_info, aaa_user_req_authen_sub, 0, 115>,
     {0, -32, -12, {}}, 2, {}, authentication.lines},
    {"local_authorization", 116, "local author req", 0,
     encoded_body(aaa_encap_author_info, filled<author_info>(0)),
     submit_typed<author_info, aaa_user_req_author_sub, 0, 116>,
     {0, -32, -12, {}}, 2, {}, authorization.lines},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(, OneWayRequests, testing::ValuesIn(one_way_requests), row_name);

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
    test::set_reg_state(state);
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
  test::set_reg_state(AAA_REG_NOT_REGISTERED);
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
    test::set_reg_state(state);
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

INSTANTIATE_TEST_SUITE_P(, RequestTimes, testing::Values(authentication, accounting), row_name);

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
