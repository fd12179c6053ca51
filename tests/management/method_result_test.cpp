// A result that the client produced.
#include "management/sample_records.h"
#include "session/state/client_state.h"
#include "support/expected_line.h"
#include "support/failing_block.h"
#include "support/library_counters.h"

namespace {

using test::hex;

class MethodResult : public test::LinkedTest {
 protected:
  result_info result_ = test::own_result();
};

TEST_F(MethodResult, TravelsUnderItsSessionId) {
  result_.sub.session_id = 0x01020304;
  EXPECT_EQ(0, aaa_method_add_result(&result_));
  EXPECT_EQ(hex("01010101 04030201 04000000"), only_write().substr(0, 12));
}

TEST_F(MethodResult, MayHaveSessionId0) {
  result_.sub.session_id = 0;
  EXPECT_EQ(0, aaa_method_add_result(&result_));
  EXPECT_EQ(0u, test::word_at(only_write(), 4));
}

TEST_F(MethodResult, NullGivesMinus22) {
  EXPECT_EQ(-22, aaa_method_add_result(nullptr));
  EXPECT_TRUE(writes().empty());
}

TEST_F(MethodResult, TheRegistrationIsAskedForBeforeNull) {
  aaa::set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(-1, aaa_method_add_result(nullptr));
}

TEST_F(MethodResult, AFailedEncodingIsLogged) {
  script(test::FailingBlock(1).scripts());
  const test::OpenGate gate;
  const test::LogCapture log;
  EXPECT_EQ(-12, aaa_method_add_result(&result_));
  test::expect_line(log, "aaa_method_add_result", "out of memory.\r\n");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(MethodResult, AFailedSendIsLoggedLast) {
  const test::OpenGate gate;
  const test::LogCapture log;
  next_write_fails(EPIPE);
  EXPECT_EQ(-32, aaa_method_add_result(&result_));
  test::expect_line(log, "aaa_method_add_result", "send packet error with errno 32.\r\n");
  EXPECT_EQ("send packet error with errno 32.\r\n", log.messages().back());
}

TEST_F(MethodResult, TheLineShowsTheResultNotErrno) {
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  const test::OpenGate gate;
  const test::LogCapture log;
  errno = E2BIG;
  EXPECT_EQ(-22, aaa_method_add_result(&result_));
  test::expect_line(log, "aaa_method_add_result", "send packet error with errno 22.\r\n");
}

}  // namespace
