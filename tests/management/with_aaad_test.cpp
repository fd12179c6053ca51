// Management requests of several threads, against a running aaad.
#include "support/library_test.h"
#include "wire/message.h"

namespace test {
namespace {

using aaa_sim::Message;

std::uint32_t word(aaa_sim::View body, std::size_t n) {
  return word_at(bytes_of(body.data(), body.size()), 4 * n);
}

// Answers with the first word of the request's body, under `type`.
aaa_sim::Answerer echo_word(std::uint32_t type) {
  return [=](const Request& request) -> Replies {
    const std::uint32_t words[] = {word(request.body, 0)};
    return {{Role::request, type, 0, aaa_sim::encode_words(words)}};
  };
}

class WithAaad : public SimulatedTest {
 protected:
  // Work with the numbers from 0 to 99, of four threads.
  template <class Work>
  static void on_four_threads(Work work) {
    on_threads(4, [=](std::uint32_t thread) {
      for (std::uint32_t n = 25 * thread; n < 25 * thread + 25; ++n)
        work(n);
    });
  }
  bool arrived(std::uint32_t type, std::size_t count) {
    return eventually([&] { return sim_.count(received(type, Role::request)) == count; });
  }
};

TEST_F(WithAaad, EveryThreadGetsTheAnswerToItsOwnQuestion) {
  sim_.set_answer(AAA_MSG_QUERY_MLIST_EXIST, echo_word(AAA_MSG_MLIST_EXISTED_RESP));
  sim_.set_answer(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, echo_word(AAA_MSG_AUTHEN_MLIST_STATE_RESULT));
  register_client();
  on_four_threads([](std::uint32_t n) {
    EXPECT_EQ(n, aaa_mlist_existed(n, 0, 0, "local"));
    EXPECT_EQ(n % 11, aaa_authen_mlist_sta_query(n % 11, "local"));
    EXPECT_EQ(0, aaa_front_add_radext_result(n, 0, 0));
  });
  EXPECT_TRUE(arrived(AAA_MSG_RADEXT_ADD_RESULT, 100));
}

TEST_F(WithAaad, MessagesOfSeveralThreadsArriveWholeAndOnce) {
  register_client();
  const LibraryCounters counters;
  on_four_threads([](std::uint32_t n) {
    aaa_delete_user(n + 1, n);
    ldap_search_result result = {};
    result.head.session_id = n + 1;
    EXPECT_EQ(0, aaa_add_ldap_search_result(&result));
  });
  EXPECT_TRUE(arrived(AAA_MSG_DELETE_USER, 100));
  EXPECT_TRUE(arrived(AAA_MSG_LDAP_SEARCH_RESULT, 100));
  for (std::uint32_t id = 1; id <= 100; ++id)
    EXPECT_EQ(1u, sim_.count([id](const Message& message) {
      return message.header.type == AAA_MSG_DELETE_USER && message.header.id == id &&
             word(message.body(), 0) == id && word(message.body(), 1) == id - 1;
    })) << id;
  EXPECT_EQ(100u, counters.grown(18));
  EXPECT_EQ(0u, counters.grown(19));
}

}  // namespace
}  // namespace test
