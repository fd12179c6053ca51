// Register exchanges that go wrong.
#include "session/link/connect.h"
#include "session/session_test.h"

namespace {

using aaa::aaalib_connect_and_register_to_aaad;
using test::Fault;
using test::Role;
using test::ScriptedCalls;
using testing::Contains;
using testing::ElementsAre;

constexpr std::uint32_t kRegister = 0;

class RegisterFaults : public test::SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    aaa::set_model_name("test");
  }

  // Expects the exchange to fail with `line` from it, then the line of the whole step.
  void expect_failure(const std::string& line) {
    const test::OpenGate gate;
    const test::LogCapture log;
    EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
    EXPECT_EQ("aaa_lib_client_reg", log.find(line).function()) << line;
    EXPECT_EQ("register to aaad failed\r\n", log.messages().back());
    EXPECT_EQ("aaalib_connect_and_register_to", log.lines().back().function());
    EXPECT_EQ(1u, log.count(line));
    messages_ = log.messages();
    expect_half_registered();
  }
  static void expect_half_registered() {
    EXPECT_EQ(3, g_aaa_client_cb.reg_state);
    EXPECT_GT(g_aaa_client_cb.sync_fd, 0);
    EXPECT_GT(g_aaa_client_cb.async_fd, 0);
    EXPECT_TRUE(test::is_free(aaa_lib_lock));
  }
  bool event_socket_was_tried() { return sim_.count(test::received(kRegister, Role::event)) > 0; }
  // aaad answers the request of one role with that message, the other's as it should.
  void answer_with(Role role, std::uint32_t type, aaa_sim::Bytes body) {
    sim_.set_answer(kRegister, [=](const aaa_sim::Request& request) -> aaa_sim::Replies {
      if (request.role == role) return {{role, type, 0, body}};
      if (role == Role::event) return {{Role::request, 100, 0, {1, 0, 0, 0}}};
      return {{Role::event, 102, 0, aaa_sim::encode_status({})}};
    });
  }

  std::vector<std::string> messages_;
};

TEST_F(RegisterFaults, AnIdOf255IsARefusal) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 255; });
  expect_failure("model test has been registered or tag is used up\r\n");
  EXPECT_EQ(255, g_aaa_client_cb.aaa_id);
  ASSERT_EQ(6u, messages_.size());
  EXPECT_EQ("model test has already registered or is an illegal model.\r\n", messages_[4]);
  EXPECT_FALSE(event_socket_was_tried());
}

TEST_F(RegisterFaults, EachLineOfARefusalPassesTheGateByItself) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 255; });
  const test::OpenGate gate;
  // connect, send, receive and the first line of the refusal
  aaa::store(g_aaa_status.debug_msg_limit, 4U);
  const test::LogCapture log;
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(1u, log.count("model test has been registered or tag is used up\r\n"));
  EXPECT_EQ(0u, log.count("model test has already registered or is an illegal model.\r\n"));
}

TEST_F(RegisterFaults, AnotherTypeOnTheRequestSocketIsWrong) {
  answer_with(Role::request, 102, aaa_sim::Bytes(40));
  expect_failure("get wrong response of register request.\r\n");
  EXPECT_FALSE(event_socket_was_tried());
}

TEST_F(RegisterFaults, TheRequestSocketsTypeOnTheEventSocketIsWrong) {
  aaa::store_status(test::distinct_status());
  answer_with(Role::event, 100, {1, 0, 0, 0});
  expect_failure("get wrong response of register request.\r\n");
  EXPECT_EQ(11u, g_aaa_status.new_model) << "the status is left alone";
}

TEST_F(RegisterFaults, AWrongTypeLeavesTheIdAlone) {
  aaa::store(g_aaa_client_cb.aaa_id, 77);
  sim_.set_fault(Role::request, kRegister, Fault::wrong_type);
  expect_failure("get wrong response of register request.\r\n");
  EXPECT_EQ(77, g_aaa_client_cb.aaa_id);
}

TEST_F(RegisterFaults, AnEmptyBodyOnTheRequestSocketIsAFailure) {
  sim_.set_fault(Role::request, kRegister, Fault::empty_body);
  expect_failure("receive message len is 0.\r\n");
  EXPECT_FALSE(event_socket_was_tried());
}

TEST_F(RegisterFaults, AnEmptyBodyOnTheEventSocketToo) {
  sim_.set_fault(Role::event, kRegister, Fault::empty_body);
  expect_failure("receive message len is 0.\r\n");
}

TEST_F(RegisterFaults, AnEmptyBodyIsReportedBeforeAWrongType) {
  answer_with(Role::request, 103, {});
  expect_failure("receive message len is 0.\r\n");
}

TEST_F(RegisterFaults, AShortIdIsFilledUpWithZeros) {
  answer_with(Role::request, 100, {0x07, 0x01});
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  aaalib_connect_and_register_to_aaad();
  EXPECT_EQ(0x0107, g_aaa_client_cb.aaa_id);
}

TEST_F(RegisterFaults, AShortStatusIsFilledUpWithZeros) {
  aaa::store_status(test::distinct_status());
  answer_with(Role::event, 102, {9, 0, 0, 0, 8});
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(9u, g_aaa_status.new_model);
  EXPECT_EQ(8u, g_aaa_status.acct_period);
  EXPECT_EQ(0u, g_aaa_status.acct_status);
  EXPECT_EQ(0u, g_aaa_status.aaa_id_limit);
}

TEST_F(RegisterFaults, AnAaadThatClosesIsAFailedHeader) {
  sim_.set_fault(Role::request, kRegister, Fault::close);
  expect_failure("receive message error 32.\n\r\n");
  EXPECT_FALSE(event_socket_was_tried());
}

TEST_F(RegisterFaults, AnAaadThatDiesBetweenTheExchangesIsAFailedHeader) {
  sim_.set_fault(Role::event, kRegister, Fault::close);
  expect_failure("receive message error 32.\n\r\n");
  EXPECT_TRUE(event_socket_was_tried());
}

TEST_F(RegisterFaults, ASilentAaadIsAFailedHeaderAfterTenSeconds) {
  test::MovedClock clock;
  const std::uint32_t start = test::library_seconds();
  sim_.set_fault(Role::request, kRegister, Fault::silent);
  const ScriptedCalls calls({.recv = [&](int fd, void*, std::size_t, int) {
    return test::only_on(g_aaa_client_cb.sync_fd, fd, [&] {
      clock.advance(2);
      return test::fails(EAGAIN);
    });
  }});
  expect_failure("receive message error 11.\n\r\n");
  EXPECT_GE(test::library_seconds(), start + 10);
}

TEST_F(RegisterFaults, AFailedSendIsReportedWithItsText) {
  const ScriptedCalls calls({.send = [&](int fd, const void*, std::size_t, int) {
    return test::only_on(g_aaa_client_cb.sync_fd, fd, [] { return test::fails(EPIPE); });
  }});
  expect_failure("send packet error with error Broken pipe.\r\n");
}

TEST_F(RegisterFaults, ABodyThatDoesNotArriveHasNoLineOfItsOwn) {
  const test::OpenGate gate;
  const test::LogCapture log;
  int reads = 0;
  const ScriptedCalls calls({.recv = [&](int fd, void*, std::size_t, int) {
    return test::only_on(g_aaa_client_cb.sync_fd, fd, [&]() -> std::optional<ssize_t> {
      if (++reads == 2) return test::fails(ECONNRESET);
      return std::nullopt;
    });
  }});
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(log.messages(),
              ElementsAre("connect to aaad successfully.\r\n",
                          ": send message(register request) len(6) to " + sync_fd() + "\n\r\r\n",
                          "register to aaad failed\r\n"));
  expect_half_registered();
}

class WithoutMemory : public RegisterFaults, public testing::WithParamInterface<std::size_t> {};

TEST_P(WithoutMemory, TheExchangeFails) {
  const ScriptedCalls calls({.malloc = [](std::size_t size) -> std::optional<void*> {
    if (size == GetParam()) return nullptr;
    return std::nullopt;
  }});
  expect_failure("out of memory.\r\n");
}

// The request's body is 6 bytes, the responses' bodies 4 and 40.
INSTANTIATE_TEST_SUITE_P(RegisterFaults, WithoutMemory, testing::Values(6, 4, 40));

TEST_F(RegisterFaults, WithoutMemoryForTheFrameTheSendFails) {
  const ScriptedCalls calls({.malloc = [](std::size_t size) -> std::optional<void*> {
    if (size == 22) return nullptr;
    return std::nullopt;
  }});
  expect_failure("send packet error with error Cannot allocate memory.\r\n");
}

TEST_F(RegisterFaults, ALengthThatNoBlockCanHaveCountsAsNoMemory) {
  const ScriptedCalls calls({.recv = [&](int fd, void* data, std::size_t size, int) {
    return test::only_on(g_aaa_client_cb.sync_fd, fd, [&] {
      std::memset(data, 0xFF, size);
      return static_cast<ssize_t>(size);
    });
  }});
  expect_failure("out of memory.\r\n");
}

TEST_F(RegisterFaults, AResponseByteByByteIsAsGood) {
  sim_.change([](aaa_sim::Settings& settings) { settings.byte_wise = true; });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
}

TEST_F(RegisterFaults, TheStepCanBeRepeatedOnNewSockets) {
  sim_.set_fault(Role::event, kRegister, Fault::close);
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  sim_.set_fault(Role::event, kRegister, Fault::none);
  aaa_lib_client_close();
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
}

}  // namespace
