// Requests to the local user database of a running aaad, from several threads at once.
#include "support/encoded_body.h"
#include "username_lib.h"
#include "wire/message.h"

namespace test {
namespace {

// An accepting result for whoever asks, under the request's own session id.
Replies accept(const Request& request) {
  result_info record = {};
  record.sub.session_id = request.header.id;
  const std::string body = encoded_body(aaa_encap_result_info, record);
  return {{Role::request, request.header.type, 0, {body.begin(), body.end()}}};
}

// Answers with the first byte of the first item's value.
Replies first_character(const Request& request) {
  return {{Role::request, AAA_MSG_LOCAL_QUERY_PWD_RESP, 0, {request.body[4], 0, 0, 0}}};
}

class WithAaad : public SimulatedTest {
 protected:
  WithAaad() {
    sim_.set_answer(AAA_MSG_LOCAL_AUTHEN_REQ, accept);
    sim_.set_answer(AAA_MSG_LOCAL_QUERY_PWD, first_character);
  }

  // The session id in the result of an authentication with that id.
  static std::uint32_t authenticate(std::uint32_t session_id) {
    authen_info record = {};
    record.session_id = session_id;
    result_info* result = nullptr;
    if (username_lib_authen_req(&record, &result) != 0) return 0;
    const std::uint32_t answered = result->sub.session_id;
    aaa_free_result_info(result);
    return answered;
  }
};

TEST_F(WithAaad, EveryThreadGetsTheAnswerToItsOwnRequest) {
  register_client();
  on_threads(4, [](std::uint32_t n) {
    const std::string text(1, static_cast<char>('b' + n));
    for (std::uint32_t id = 100 * n + 100; id < 100 * n + 125; ++id) {
      EXPECT_EQ(id, authenticate(id));
      EXPECT_EQ('b' + static_cast<int>(n), username_lib_query_pwd_secu(text.c_str(), "x"));
    }
  });
  EXPECT_EQ(100u, sim_.count(received(AAA_MSG_LOCAL_AUTHEN_REQ, Role::request)));
}

TEST_F(WithAaad, AnAuthenticationWaitsUntilTheFlushThreadHasSentIt) {
  register_client(batching_client());
  EXPECT_EQ(7u, authenticate(7));
  const auto message = sim_.wait_for_message(received(AAA_MSG_LOCAL_AUTHEN_REQ));
  ASSERT_TRUE(message);
  EXPECT_TRUE(message->in_batch);
  EXPECT_EQ(7u, message->header.id);
}

TEST_F(WithAaad, AUserIsFetchedChangedAndWrittenBack) {
  sim_.set_answer(AAA_MSG_LOCAL_COPY_USER, [](const Request&) -> Replies {
    return {{Role::request, AAA_MSG_LOCAL_COPY_USER, 0, {1, 0, 0, 0, 10, 0, 0, 0,  'a', 'l',
                                                         6, 0, 0, 0, 9,  0, 0, 0,  'A', 6,
                                                         0, 0, 0, 9, 0,  0, 0, 'B'}}};
  });
  sim_.set_answer(AAA_MSG_LOCAL_UPDATE_USER, [](const Request&) -> Replies {
    return {{Role::request, AAA_MSG_LOCAL_UPDATE_USER, 0, {1}}};
  });
  register_client();
  local_user_info record = {};
  std::snprintf(record.user_name, sizeof record.user_name, "al");
  ASSERT_EQ(0, username_lib_copy_user(&record));
  record.value_5 = 9;
  EXPECT_EQ(0, username_lib_update_user(&record));
  username_lib_release_user(&record);
  const auto message = sim_.wait_for_message(received(AAA_MSG_LOCAL_UPDATE_USER));
  ASSERT_TRUE(message);
  const std::string bytes(message->bytes.begin(), message->bytes.end());
  EXPECT_EQ("al", bytes.substr(24, 2));
  EXPECT_EQ(9, bytes[46]);
  EXPECT_EQ("A", bytes.substr(bytes.size() - 10, 1));
  EXPECT_EQ("B", bytes.substr(bytes.size() - 1));
}

}  // namespace
}  // namespace test
