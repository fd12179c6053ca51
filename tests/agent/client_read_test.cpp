// A client in agent mode that reads a message of the link itself.
#include "agent/agent_client.h"

namespace test {
namespace {

using AgentClientRead = AgentTest;

TEST_F(AgentClientRead, TheLoopGetsTheNextMessage) {
  init_and_connect();
  send(AAA_MSG_NOTIFY_RESULT, Bytes(30, 7));
  send(AAA_MSG_MLIST_CHANGE);
  aaa_ipc_header* const message = aaalib_recv_async_ipc_msg();
  ASSERT_NE(nullptr, message);
  EXPECT_EQ(103u, message->type);
  EXPECT_EQ(30u, message->length);
  aaa_free(0, "", message);
  EXPECT_EQ(0u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  EXPECT_EQ(0, read());
  EXPECT_EQ(1u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  expect_steady();
}

}  // namespace
}  // namespace test
