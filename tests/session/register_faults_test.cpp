// Register exchanges that go wrong.
#include "session/link/connect.h"
#include "session/session_test.h"
#include "support/locked_state.h"
#include "support/table_row.h"

namespace test::register_faults {

using aaa::aaalib_connect_and_register_to_aaad;

constexpr std::uint32_t kRegister = 0;

class RegisterFaults : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    test::set_model_name("test");
  }

  // Expects the exchange to fail with `line` from it, then the line of the whole step.
  void expect_failure(const std::string& line, Scripts scripts = {}) {
    const OpenLog log;
    const ScriptedCalls calls(std::move(scripts));
    EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
    expect_line(log, "aaa_lib_client_reg", line);
    EXPECT_EQ("register to aaad failed\r\n", log.messages().back());
    EXPECT_EQ("aaalib_connect_and_register_to", log.functions().back());
    messages_ = log.messages();
    expect_half_registered();
  }
  static void expect_half_registered() {
    EXPECT_EQ(3, g_aaa_client_cb.reg_state);
    EXPECT_GT(g_aaa_client_cb.sync_fd, 0);
    EXPECT_GT(g_aaa_client_cb.async_fd, 0);
    EXPECT_TRUE(is_free(aaa_lib_lock));
  }
  bool event_socket_was_tried() { return sim_.count(received(kRegister, Role::event)) > 0; }
  // aaad answers the request of one role with that message, the other's as it should.
  void answer_with(Role role, std::uint32_t type, aaa_sim::Bytes body) {
    sim_.set_answer(kRegister, [=](const Request& request) -> Replies {
      if (request.role == role) return {{role, type, 0, body}};
      if (role == Role::event) return {{Role::request, 100, 0, {1, 0, 0, 0}}};
      return {{Role::event, 102, 0, aaa_sim::encode_status({})}};
    });
  }

  std::vector<std::string> messages_;
};

TEST_F(RegisterFaults, AnIdOf255IsARefusal) {
  answer_id(255);
  expect_failure("model test has been registered or tag is used up\r\n");
  EXPECT_EQ(255, g_aaa_client_cb.aaa_id);
  ASSERT_EQ(6u, messages_.size());
  EXPECT_EQ("model test has already registered or is an illegal model.\r\n", messages_[4]);
  EXPECT_FALSE(event_socket_was_tried());
}

TEST_F(RegisterFaults, EachLineOfARefusalPassesTheGateByItself) {
  answer_id(255);
  const OpenLog log;
  // connect, send, receive and the first line of the refusal
  aaa::store(g_aaa_status.debug_msg_limit, 4U);
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(1u, log.count("model test has been registered or tag is used up\r\n"));
  EXPECT_EQ(0u, log.count("model test has already registered or is an illegal model.\r\n"));
}

TEST_F(RegisterFaults, AWrongTypeOnTheRequestSocketLeavesTheIdAlone) {
  aaa::store(g_aaa_client_cb.aaa_id, 77);
  answer_with(Role::request, 102, aaa_sim::Bytes(40));
  expect_failure("get wrong response of register request.\r\n");
  EXPECT_FALSE(event_socket_was_tried());
  EXPECT_EQ(77, g_aaa_client_cb.aaa_id);
}

TEST_F(RegisterFaults, TheRequestSocketsTypeOnTheEventSocketLeavesTheStatusAlone) {
  aaa::store_status(distinct_status());
  answer_with(Role::event, 100, {1, 0, 0, 0});
  expect_failure("get wrong response of register request.\r\n");
  EXPECT_EQ(11u, g_aaa_status.new_model);
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
  aaa::store_status(distinct_status());
  answer_with(Role::event, 102, {9, 0, 0, 0, 8});
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(9u, g_aaa_status.new_model);
  EXPECT_EQ(8u, g_aaa_status.acct_period);
  EXPECT_EQ(0u, g_aaa_status.acct_status);
  EXPECT_EQ(0u, g_aaa_status.aaa_id_limit);
}

struct FaultAndLine {
  const char* name;
  Fault fault;
  const char* line;
};

using test::operator<<;  // the name of a row, not its bytes

class FaultOfAaad : public RegisterFaults, public testing::WithParamInterface<FaultAndLine> {};

TEST_P(FaultOfAaad, OnEitherSocketHasItsLineAndTheStepCanBeRepeatedOnNewSockets) {
  for (const Role role : {Role::request, Role::event}) {
    SCOPED_TRACE(aaa_sim::role_name(role));
    sim_.clear_messages();
    sim_.set_fault(role, kRegister, GetParam().fault);
    expect_failure(GetParam().line);
    EXPECT_EQ(role == Role::event, event_socket_was_tried());
    sim_.set_fault(role, kRegister, Fault::none);
    aaa_lib_client_close();
  }
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
  EXPECT_EQ(4, g_aaa_client_cb.reg_state);
}

INSTANTIATE_TEST_SUITE_P(
    RegisterFaults, FaultOfAaad,
    testing::Values(FaultAndLine{"EmptyBody", Fault::empty_body, "receive message len is 0.\r\n"},
                    FaultAndLine{"WrongType", Fault::wrong_type,
                                 "get wrong response of register request.\r\n"},
                    FaultAndLine{"Close", Fault::close, "receive message error 32.\n\r\n"}),
    row_name);

TEST_F(RegisterFaults, ASilentAaadIsAFailedHeaderAfterTenSeconds) {
  MovedClock clock;
  const std::uint32_t start = library_seconds();
  sim_.set_fault(Role::request, kRegister, Fault::silent);
  const auto recv = [&](auto&&...) { return clock.advance(2), fails(EAGAIN); };
  expect_failure("receive message error 11.\n\r\n", {.recv = on_request_socket(recv)});
  EXPECT_GE(library_seconds(), start + 10);
}

TEST_F(RegisterFaults, AFailedSendIsReportedWithItsTextUnlessTheGateIsClosed) {
  const Scripts scripts = {.send = on_request_socket(failing(EPIPE))};
  expect_failure("send packet error with error Broken pipe.\r\n", scripts);
  aaa_lib_client_close();
  aaa_set_debug_switch(0);
  const LogCapture log;
  const ScriptedCalls calls(scripts);
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(RegisterFaults, WithoutMemoryForTheFrameTheSendFails) {
  expect_failure("send packet error with error Cannot allocate memory.\r\n", no_memory_for(22));
}

TEST_F(RegisterFaults, ABodyThatDoesNotArriveHasNoLineOfItsOwn) {
  const OpenLog log;
  const ScriptedCalls calls({.recv = on_request_socket(failing_at(2, ECONNRESET))});
  EXPECT_EQ(-1, aaalib_connect_and_register_to_aaad());
  EXPECT_THAT(log.messages(),
              ElementsAre("connect to aaad successfully.\r\n",
                          ": send message(register request) len(6) to " + sync_fd() + "\n\r\r\n",
                          "register to aaad failed\r\n"));
  expect_half_registered();
}

// The request's body is 6 bytes, the responses' bodies 4 and 40.
class WithoutMemory : public RegisterFaults, public testing::WithParamInterface<std::size_t> {};

TEST_P(WithoutMemory, TheExchangeFails) {
  expect_failure("out of memory.\r\n", no_memory_for(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(RegisterFaults, WithoutMemory, testing::Values(6, 4, 40));

TEST_F(RegisterFaults, ALengthThatNoBlockCanHaveCountsAsNoMemory) {
  expect_failure("out of memory.\r\n",
                 {.recv = on_request_socket([](int, void* data, std::size_t size, int) {
                    std::memset(data, 0xFF, size);
                    return static_cast<ssize_t>(size);
                  })});
}

TEST_F(RegisterFaults, AResponseByteByByteIsAsGood) {
  change([](Settings& settings) { settings.byte_wise = true; });
  EXPECT_EQ(0, aaalib_connect_and_register_to_aaad());
}

}  // namespace test::register_faults
