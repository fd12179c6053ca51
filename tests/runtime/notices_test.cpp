// Messages whose body goes to the client as it is (105, 123, 125, 126), the two questions that are
// answered in any case (112, 113), and the response to a deregistration.
#include <fcntl.h>

#include "runtime/dispatch_test.h"
#include "runtime/send_buffer_test.h"
#include "support/stopping_point.h"

namespace test::notices {

// A body that begins with `kind`.
std::string notice(std::uint32_t kind, std::size_t size) {
  return word_bytes({kind}) + std::string(size - 4, '3');
}

class Notices : public DispatchTest {
 protected:
  LibraryCounters counters_;
};

TEST_F(Notices, ADeleteNoticeOfKind2IsCountedBeforeTheCallback) {
  std::vector<std::uint32_t> counted;
  in_callback([&](const std::string&) { counted.push_back(counters_.grown(24)); });
  for (const std::string& body : {notice(1, 560), notice(2, 560), notice(3, 561), notice(2, 5000)})
    EXPECT_THAT(told_by(105, body), ElementsAre("deleted " + body.substr(0, 560)));
  EXPECT_THAT(counted, ElementsAre(0, 1, 1, 2));
}

TEST_F(Notices, ACoaRequestIsCounted) {
  deliver(126, notice(9, 720));
  EXPECT_EQ(1u, counters_.grown(24));
}

TEST_F(Notices, NothingElseIsCounted) {
  expect_dropped(105, notice(2, 559));
  expect_dropped(126, notice(9, 719));
  deliver(123, word_bytes({1, 2, 3}));
  deliver(125, notice(1, 24));
  use({});
  deliver(105, notice(2, 560));
  deliver(126, notice(9, 720));
  EXPECT_TRUE(counters_.all_unchanged());
}

class Questions : public DispatchTest {};

const std::string group_is_valid = word_bytes({0x01010101, 0, 14, 4, 0});
const std::string group_is_not_valid = word_bytes({0x01010101, 0, 14, 4, 0xffffffff});
const std::string nobody_is_online = word_bytes({0x01010101, 0, 15, 8, 0, 0});

TEST_F(Questions, AGroupIsValidWhenTheCallbackReturnsZero) {
  for (const int answer : {0, 7, -3}) {
    notes.group_answer = answer;
    deliver(112, std::string(396, '1'));
    EXPECT_EQ(answer == 0 ? group_is_valid : group_is_not_valid, answers()) << answer;
  }
}

TEST_F(Questions, TheCallbackGetsTheBodyItsWordAt392AndItsLength) {
  const std::string body = std::string(392, '\x11') + word_bytes({0x01020304, 0xeeeeeeee});
  EXPECT_THAT(told_by(112, body), ElementsAre("valid? " + body + word_bytes({0x01020304, 400})));
}

TEST_F(Questions, AGroupQuestionOf395BytesIsNotAnswered) {
  expect_dropped(112, std::string(395, '1'));
  expect_dropped(112);
  EXPECT_EQ("", answers());
}

TEST_F(Questions, OnlineInfoIsWhatTheCallbackFillsIn) {
  notes.online_answer = "ABCDEFGH";
  EXPECT_THAT(told_by(113, "who"), ElementsAre("online? " + zeros(8) + "who"));
  EXPECT_EQ(word_bytes({0x01010101, 0, 15, 8}) + "ABCDEFGH", answers());
  EXPECT_THAT(told_by(113), ElementsAre("online? " + zeros(8) + "null"));
  EXPECT_EQ(word_bytes({0x01010101, 0, 15, 8}) + "ABCDEFGH", answers());
}

TEST_F(Questions, AreAnsweredWithoutCallbacksToo) {
  use({});
  deliver(112, std::string(396, '1'));
  deliver(113, std::string(5, '1'));
  deliver(113);
  EXPECT_EQ(group_is_valid + nobody_is_online + nobody_is_online, answers());
}

TEST_F(Questions, AnswersAreWrittenUnderTheLibrarysLock) {
  std::vector<bool> free;
  const auto look = noting([&] { free.push_back(is_free(aaa_lib_lock)); });
  const ScriptedCalls calls({.send = on_event_socket(look)});
  deliver(112, std::string(396, '1'));
  deliver(113);
  EXPECT_THAT(free, ElementsAre(false, false));
}

TEST_F(Questions, AnAnswerThatCannotBeWrittenIsForgotten) {
  const OpenLog log;
  aaad_.close_peer();
  for (int round = 0; round < 2; ++round) {
    deliver(112, std::string(396, '1'));
    deliver(113);
    aaa::store(g_aaa_client_cb.async_fd, -1);
  }
  // A line for each message and each answer, none for a failure.
  EXPECT_EQ(8u, log.lines().size());
}

// A write that is stuck on the request socket while questions come in.
class StuckRequestSocket : public Questions {
 protected:
  StuckRequestSocket() {
    use({});
    aaa_lib_send_buf_reset();
    aaa::store(g_aaa_client_cb.sync_fd, request_.own());
  }
  ~StuckRequestSocket() override { aaa_lib_send_buf_reset(); }

  // Answers both questions while `write` is stuck.
  template <class Write>
  void answer_while_stuck(Write write) {
    const ScriptedCalls calls({.send = on_request_socket(noting([this] { stuck_.stop(); }))});
    std::thread stuck(write);
    EXPECT_TRUE(stuck_.is_reached());
    deliver(112, std::string(396, '\1'));
    deliver(113);
    stuck_.go_on();
    stuck.join();
    EXPECT_EQ(group_is_valid + nobody_is_online, answers());
  }

  ScriptedPeer request_;
  StoppingPoint stuck_;
};

TEST_F(StuckRequestSocket, WithABatchHoldsUpNoAnswerAndLosesNoByte) {
  add(request(20, 1));
  answer_while_stuck(aaa_lib_send_buf);
  EXPECT_EQ(word_bytes({0x01010101, 0, 25, 20}) + request(20, 1), request_.peer_reads());
}

TEST_F(StuckRequestSocket, WithALargeMessageHoldsUpNoAnswer) {
  answer_while_stuck([] { add(request(8192, 1)); });
  EXPECT_EQ(request(8192, 1), request_.peer_reads());
}

// For a callback that fills the bytes as words.
TEST_F(Questions, TheBytesOfAnAnswerAreAlignedTo8) {
  static std::uintptr_t misaligned;
  misaligned = 1;
  reg_info info = {};
  info.get_online_info_cb = [](void* answer, const void*) {
    misaligned = reinterpret_cast<std::uintptr_t>(answer) % 8;
  };
  use(info);
  deliver(113);
  EXPECT_EQ(0u, misaligned);
}

class DeregisterResponse : public DispatchTest {
 protected:
  // An event socket that the test does not close itself.
  DeregisterResponse() { aaa::store(g_aaa_client_cb.async_fd, fd_); }

  const int fd_ = fcntl(aaad_.own(), F_DUPFD_CLOEXEC, 0);
};

TEST_F(DeregisterResponse, ClosesAndForgetsTheEventSocketUnderTheLibrarysLock) {
  std::vector<bool> free;
  const auto look = noting([&] { free.push_back(is_free(aaa_lib_lock)); });
  const ScriptedCalls calls({.close = on_event_socket(look)});
  aaalib_ipc_msg_proc_dereg_response();
  EXPECT_THAT(free, ElementsAre(false));
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  EXPECT_EQ(-1, fcntl(fd_, F_GETFD));
}

TEST_F(DeregisterResponse, ForgetsASocketThatCannotBeClosed) {
  {
    const ScriptedCalls calls({.close = failing(EIO)});
    aaalib_ipc_msg_proc_dereg_response();
  }
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  ::close(fd_);
}

TEST_F(DeregisterResponse, WithoutAnEventSocketClosesNothing) {
  aaa::store(g_aaa_client_cb.async_fd, -1);
  {
    const ScriptedCalls calls({.close = unwanted()});
    aaalib_ipc_msg_proc_dereg_response();
  }
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  ::close(fd_);
}

}  // namespace test::notices
