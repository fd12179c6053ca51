// The two questions that are answered in any case: 112 and 113.
#include <atomic>
#include <cerrno>
#include <thread>

#include "dispatch_test.h"
#include "support/scripted_calls.h"

namespace test {
namespace {

class Questions : public DispatchTest {
 protected:
  static void validate_with(aaa_gs_valid_req_fn callback) {
    reg_info info = {};
    info.gs_valid_req_cb = callback;
    use(info);
  }
  static void report_with(aaa_get_online_info_fn callback) {
    reg_info info = {};
    info.get_online_info_cb = callback;
    use(info);
  }
};

const Bytes verdict_valid = words({0x01010101, 0, 14, 4, 0});
const Bytes verdict_not_valid = words({0x01010101, 0, 14, 4, 0xffffffff});

TEST_F(Questions, WithoutACallbackAGroupIsValid) {
  deliver(112, Bytes(396, 1));
  EXPECT_EQ(verdict_valid, answers());
}

TEST_F(Questions, ACallbackThatReturnsZeroFindsTheGroupValid) {
  validate_with([](const void*, std::uint32_t, std::uint32_t) { return 0; });
  deliver(112, Bytes(396, 1));
  EXPECT_EQ(verdict_valid, answers());
}

TEST_F(Questions, ACallbackThatReturnsAnythingElseFindsItNotValid) {
  validate_with([](const void*, std::uint32_t, std::uint32_t) { return 7; });
  deliver(112, Bytes(396, 1));
  EXPECT_EQ(verdict_not_valid, answers());
  validate_with([](const void*, std::uint32_t, std::uint32_t) { return -3; });
  deliver(112, Bytes(396, 1));
  EXPECT_EQ(verdict_not_valid, answers());
}

TEST_F(Questions, TheCallbackGetsTheBodyItsWordAt392AndItsLength) {
  validate_with([](const void* body, std::uint32_t word, std::uint32_t length) {
    note_unlocked(bytes_of(body, 400) + words({word, length}));
    return 0;
  });
  const Bytes body = Bytes(392, 0x11) + words({0x01020304, 0xeeeeeeee});
  deliver(112, body);
  EXPECT_EQ(once(body + words({0x01020304, 400})), noted());
}

TEST_F(Questions, AGroupQuestionOf395BytesIsDropped) {
  validate_with([](const void*, std::uint32_t, std::uint32_t) {
    note({});
    return 0;
  });
  deliver(112, Bytes(395, 1));
  deliver(112);
  EXPECT_TRUE(noted().empty());
  EXPECT_EQ(Bytes(), answers());
}

TEST_F(Questions, OnlineInfoIsWhatTheCallbackFillsIn) {
  report_with([](void* answer, const void* body) {
    note_unlocked(bytes_of(answer, 8) + bytes_of(body, 3));
    std::memcpy(answer, "ABCDEFGH", 8);
  });
  deliver(113, text("who"));
  EXPECT_EQ(once(Bytes(8, 0) + text("who")), noted());
  EXPECT_EQ(words({0x01010101, 0, 15, 8}) + text("ABCDEFGH"), answers());
}

TEST_F(Questions, OnlineInfoIsAnsweredWithoutABodyToo) {
  report_with([](void* answer, const void* body) {
    note(body == nullptr ? text("null") : text("body"));
    std::memset(answer, 0x22, 4);
  });
  deliver(113);
  EXPECT_EQ(once(text("null")), noted());
  EXPECT_EQ(words({0x01010101, 0, 15, 8, 0x22222222, 0}), answers());
}

TEST_F(Questions, OnlineInfoIsZeroWithoutACallback) {
  deliver(113, Bytes(5, 1));
  deliver(113);
  const Bytes zero = words({0x01010101, 0, 15, 8, 0, 0});
  EXPECT_EQ(zero + zero, answers());
}

TEST_F(Questions, AnswersAreWrittenUnderTheLibrarysLock) {
  std::vector<bool> held;
  Scripts scripts;
  scripts.send = [&](int fd, const void*, std::size_t, int) {
    EXPECT_EQ(aaad_.own(), fd);
    held.push_back(is_held(aaa_lib_lock));
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  deliver(112, Bytes(396, 1));
  deliver(113);
  EXPECT_EQ((std::vector<bool>{true, true}), held);
}

TEST_F(Questions, AnAnswerThatCannotBeWrittenIsForgotten) {
  const OpenGate gate;
  const LogCapture log;
  aaad_.close_peer();
  deliver(112, Bytes(396, 1));
  deliver(113);
  aaa::store(g_aaa_client_cb.async_fd, -1);
  deliver(112, Bytes(396, 1));
  deliver(113);
  // A line for each message and each answer, none for a failure.
  EXPECT_EQ(8u, log.lines().size());
}

// A write that is stuck on the request socket while questions come in.
class StuckRequestSocket : public Questions {
 protected:
  void SetUp() override {
    Questions::SetUp();
    aaa_lib_send_buf_reset();
    ASSERT_TRUE(request_.open());
    aaa::store(g_aaa_client_cb.sync_fd, request_.own());
  }
  void TearDown() override {
    aaa::store(g_aaa_client_cb.sync_fd, -1);
    request_.close();
    aaa_lib_send_buf_reset();
    Questions::TearDown();
  }

  // Answers both questions while `write` is stuck.
  template <class Write>
  void answer_while_stuck(Write write) {
    const ScriptedCalls calls(
        {.send = [this](int fd, const void*, std::size_t, int) -> std::optional<ssize_t> {
          if (fd != request_.own()) return std::nullopt;
          is_stuck_ = true;
          EXPECT_TRUE(eventually([this] { return is_answered_.load(); })) << "held up";
          return std::nullopt;
        }});
    std::thread stuck(write);
    EXPECT_TRUE(eventually([this] { return is_stuck_.load(); }));
    deliver(112, Bytes(396, 1));
    deliver(113);
    is_answered_ = true;
    stuck.join();
    EXPECT_EQ(verdict_valid + words({0x01010101, 0, 15, 8, 0, 0}), answers());
  }

  SocketPair request_;
  std::atomic<bool> is_stuck_ = false;
  std::atomic<bool> is_answered_ = false;
};

TEST_F(StuckRequestSocket, WithABatchHoldsUpNoAnswerAndLosesNoByte) {
  const Bytes message = request(20, 1);
  aaa_lib_add_send_buf(message.data(), 20);
  answer_while_stuck(aaa_lib_send_buf);
  EXPECT_EQ(words({0x01010101, 0, 25, 20}) + message, received_bytes(request_));
}

TEST_F(StuckRequestSocket, WithALargeMessageHoldsUpNoAnswer) {
  const Bytes message = request(8192, 1);
  answer_while_stuck([&] { aaa_lib_add_send_buf(message.data(), 8192); });
  EXPECT_EQ(message, received_bytes(request_));
}

// For a callback that fills the bytes as words. The stack's own alignment must not make it true.
TEST_F(Questions, TheBytesOfAnAnswerAreAlignedTo8) {
  static std::uintptr_t misaligned;
  misaligned = 0;
  report_with([](void* answer, const void*) {
    misaligned |= reinterpret_cast<std::uintptr_t>(answer) % 8;
  });
  for (std::size_t depth = 0; depth < 64; ++depth) {
    auto* const stack = static_cast<volatile char*>(__builtin_alloca(depth + 1));
    stack[0] = 0;
    deliver(113, {});
  }
  EXPECT_EQ(0u, misaligned);
}

}  // namespace
}  // namespace test
