// Records submitted under a message type of the caller's.
#include "api/request_kinds.h"
#include "session/state/client_state.h"
#include "support/expected_line.h"
#include "support/library_counters.h"

namespace {

using test::hex;

struct TypedRequest {
  const char* name;
  const char* log_name;
  std::uint32_t refused_without_session;
  std::uint32_t other_type;
  std::int32_t (*submit)(std::uint32_t session_id, std::uint32_t type);
  std::int32_t (*submit_nothing)(std::uint32_t type);
  std::string (*body)(std::uint32_t session_id);
};

std::ostream& operator<<(std::ostream& out, const TypedRequest& request) {
  return out << request.name;
}

template <class Record, std::int32_t (*request)(Record*, std::uint32_t)>
std::int32_t submit_typed(std::uint32_t session_id, std::uint32_t type) {
  Record record = test::filled<Record>(session_id);
  return request(&record, type);
}

template <class Record, std::int32_t (*request)(Record*, std::uint32_t)>
std::int32_t submit_null(std::uint32_t type) {
  return request(nullptr, type);
}

const TypedRequest typed_authentication = {
    "authentication",
    "aaa_user_req_authen_sub",
    5,
    115,
    submit_typed<authen_info, aaa_user_req_authen_sub>,
    submit_null<authen_info, aaa_user_req_authen_sub>,
    test::encoded<authen_info, aaa_encap_authen_info>,
};
const TypedRequest typed_authorization = {
    "authorization",
    "aaa_user_req_author_sub",
    6,
    116,
    submit_typed<author_info, aaa_user_req_author_sub>,
    submit_null<author_info, aaa_user_req_author_sub>,
    test::encoded<author_info, aaa_encap_author_info>,
};

class TypedRequests : public test::LinkedTest, public testing::WithParamInterface<TypedRequest> {
 protected:
  static std::int32_t submit(std::uint32_t session_id, std::uint32_t type) {
    return GetParam().submit(session_id, type);
  }
  // Two blocks: the body and the message.
  static void expect_all_released(const test::LibraryCounters& counters) {
    EXPECT_EQ(counters.blocks_freed(), counters.blocks_allocated());
  }
};

INSTANTIATE_TEST_SUITE_P(, TypedRequests,
                         testing::Values(typed_authentication, typed_authorization),
                         [](const auto& request) { return request.param.name; });

TEST_P(TypedRequests, RefuseANullRecordWith22) {
  const test::LibraryCounters counters;
  for (const std::uint32_t type : {5u, 6u, 115u, 116u})
    EXPECT_EQ(-22, GetParam().submit_nothing(type)) << type;
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_P(TypedRequests, RefuseSessionId0UnderTheirOrdinaryTypeWith22) {
  const test::LibraryCounters counters;
  EXPECT_EQ(-22, submit(0, GetParam().refused_without_session));
  EXPECT_TRUE(writes().empty());
  EXPECT_EQ(0u, counters.blocks_allocated());
}

TEST_P(TypedRequests, SendSessionId0UnderAnotherType) {
  const std::string body = GetParam().body(0);
  EXPECT_EQ(0, submit(0, GetParam().other_type));
  const std::string& message = only_write();
  EXPECT_EQ(hex("01010101 00000000"), message.substr(0, 8));
  EXPECT_EQ(GetParam().other_type, test::word_at(message, 8));
  EXPECT_EQ(body.size(), test::word_at(message, 12));
  EXPECT_EQ(body, message.substr(16));
}

TEST_P(TypedRequests, SendTheSessionIdAsTheMessageIdUnderAnyType) {
  for (const std::uint32_t type : {5u, 6u, 115u, 116u, 9999u}) {
    const test::LibraryCounters counters;
    EXPECT_EQ(0, submit(0x0a0b0c0d, type));
    expect_all_released(counters);
    EXPECT_EQ(hex("0d0c0b0a"), writes().back().substr(4, 4));
    EXPECT_EQ(type, test::word_at(writes().back(), 8));
  }
  EXPECT_EQ(5u, writes().size());
}

TEST_P(TypedRequests, AreSentWhateverTheStateOfTheRegistration) {
  for (const auto state : {AAA_REG_NOT_REGISTERED, AAA_REG_CONNECTING, AAA_REG_CONNECTED,
                           AAA_REG_REGISTERED, AAA_REG_LOST}) {
    aaa::set_reg_state(state);
    EXPECT_EQ(0, submit(9, GetParam().refused_without_session)) << state;
  }
  EXPECT_EQ(5u, writes().size());
}

TEST_P(TypedRequests, KeepNoStatistics) {
  const test::LibraryCounters counters;
  EXPECT_EQ(0, submit(9, GetParam().refused_without_session));
  EXPECT_EQ(-22, submit(0, GetParam().refused_without_session));
  next_write_fails(EPIPE);
  EXPECT_EQ(-32, submit(9, GetParam().refused_without_session));
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_P(TypedRequests, GiveMinus12WithoutMemory) {
  for (const int blocks : {0, 1}) {
    script(test::memory_for(blocks));
    EXPECT_EQ(-12, submit(9, GetParam().other_type)) << blocks;
  }
  EXPECT_TRUE(writes().empty());
}

TEST_P(TypedRequests, NameTheFunctionInTheLineOfAFailure) {
  const test::OpenGate gate;
  const test::LogCapture log;
  next_write_fails(EPIPE);
  EXPECT_EQ(-32, submit(0, GetParam().other_type));
  test::expect_line(log, GetParam().log_name, "send packet error with errno 32.\r\n");
}

}  // namespace
